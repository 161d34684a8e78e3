-- What people read: one view for each sort of record. Keys that a document leaves out are null.
SET LOCAL search_path = fleet_store;
-- Views are made anew, in case their columns have changed. What others have built on them must be dropped before.
DROP VIEW IF EXISTS fleet.cpus, fleet.gpus, fleet.memory_modules, fleet.disks, fleet.partitions, fleet.network_adapters,
    fleet.boards, fleet.systems, fleet.hotfixes, fleet.machines, fleet.collections, fleet.failures, fleet.changes,
    fleet.identifiers, fleet.bad_lines;

CREATE VIEW fleet.cpus AS
SELECT d.machine, ordinal, r ->> 'name' AS name, r ->> 'manufacturer' AS manufacturer, r ->> 'model' AS model,
    r ->> 'status' AS status,
    number_of(r -> 'maxClockSpeed') AS max_clock_speed, number_of(r -> 'cores') AS cores,
    r ->> 'socketDesignation' AS socket_designation, r ->> 'processorID' AS processor_id
FROM documents d, jsonb_array_elements(d.document -> 'cpus') WITH ORDINALITY AS list(r, ordinal)
WHERE d.kind = 'cpus' AND jsonb_typeof(r) = 'object';

CREATE VIEW fleet.gpus AS
SELECT d.machine, ordinal, r ->> 'name' AS name, r ->> 'manufacturer' AS manufacturer, r ->> 'model' AS model,
    r ->> 'status' AS status,
    r ->> 'deviceID' AS device_id, r ->> 'pciAddress' AS pci_address, r ->> 'serialNumber' AS serial_number,
    number_of(r -> 'temperature') AS temperature
FROM documents d, jsonb_array_elements(d.document -> 'gpus') WITH ORDINALITY AS list(r, ordinal)
WHERE d.kind = 'gpus' AND jsonb_typeof(r) = 'object';

CREATE VIEW fleet.memory_modules AS
SELECT d.machine, ordinal, r ->> 'name' AS name, r ->> 'manufacturer' AS manufacturer, r ->> 'model' AS model,
    r ->> 'serialNumber' AS serial_number, number_of(r -> 'capacity') AS capacity, r ->> 'deviceLocator' AS device_locator
FROM documents d, jsonb_array_elements(d.document -> 'rams') WITH ORDINALITY AS list(r, ordinal)
WHERE d.kind = 'ram' AND jsonb_typeof(r) = 'object';

CREATE VIEW fleet.disks AS
SELECT d.machine, ordinal, r ->> 'name' AS name, r ->> 'manufacturer' AS manufacturer, r ->> 'model' AS model,
    r ->> 'status' AS status,
    r ->> 'serialNumber' AS serial_number, r ->> 'interfaceType' AS interface_type, r ->> 'mediaType' AS media_type,
    number_of(r -> 'size') AS size, number_of(r -> 'availableSpace') AS available_space
FROM documents d, jsonb_array_elements(d.document -> 'disks') WITH ORDINALITY AS list(r, ordinal)
WHERE d.kind = 'disks' AND jsonb_typeof(r) = 'object';

-- disk: the ordinal of its disk.
CREATE VIEW fleet.partitions AS
SELECT d.machine, disk, part.ordinal, p ->> 'name' AS name, number_of(p -> 'size') AS size,
    number_of(p -> 'availableSpace') AS available_space, p ->> 'status' AS status
FROM documents d, jsonb_array_elements(d.document -> 'disks') WITH ORDINALITY AS list(r, disk),
    jsonb_array_elements(CASE jsonb_typeof(r -> 'partitions') WHEN 'array' THEN r -> 'partitions' END)
        WITH ORDINALITY AS part(p, ordinal)
WHERE d.kind = 'disks' AND jsonb_typeof(p) = 'object';

-- ip_addresses: a JSON array.
CREATE VIEW fleet.network_adapters AS
SELECT d.machine, ordinal, r ->> 'name' AS name, r ->> 'manufacturer' AS manufacturer, r ->> 'model' AS model,
    r ->> 'status' AS status,
    r ->> 'deviceID' AS device_id, r ->> 'type' AS type, r ->> 'macAddress' AS mac_address, r -> 'ipAddresses' AS ip_addresses
FROM documents d, jsonb_array_elements(d.document -> 'networkAdapters') WITH ORDINALITY AS list(r, ordinal)
WHERE d.kind = 'network-adapters' AND jsonb_typeof(r) = 'object';

CREATE VIEW fleet.boards AS
SELECT d.machine, ordinal, r ->> 'name' AS name, r ->> 'manufacturer' AS manufacturer, r ->> 'model' AS model,
    r ->> 'status' AS status,
    r ->> 'serialNumber' AS serial_number
FROM documents d, jsonb_array_elements(d.document -> 'motherBoards') WITH ORDINALITY AS list(r, ordinal)
WHERE d.kind = 'base-boards' AND jsonb_typeof(r) = 'object';

CREATE VIEW fleet.systems AS
SELECT d.machine, r ->> 'machineName' AS machine_name, r ->> 'manufacturer' AS manufacturer, r ->> 'model' AS model,
    r ->> 'productID' AS product_id, r ->> 'serialNumber' AS serial_number, r ->> 'type' AS type,
    r ->> 'biosVersion' AS bios_version,
    r -> 'osInfo' ->> 'name' AS os_name, r -> 'osInfo' ->> 'version' AS os_version, r -> 'osInfo' ->> 'releaseId' AS os_release,
    r ->> 'installationDate' AS installation_date, r ->> 'bootTime' AS boot_time, r ->> 'domain' AS domain, r ->> 'owner' AS owner,
    r ->> 'organization' AS organization, r ->> 'timezone' AS timezone, r ->> 'systemLocale' AS system_locale
FROM documents d, LATERAL (SELECT d.document -> 'system' AS r) AS system
WHERE d.kind = 'system';

CREATE VIEW fleet.hotfixes AS
SELECT d.machine, ordinal, r ->> 'name' AS name, r ->> 'installationDate' AS installation_date
FROM documents d, jsonb_array_elements(d.document -> 'hotfixes') WITH ORDINALITY AS list(r, ordinal)
WHERE d.kind = 'hotfixes' AND jsonb_typeof(r) = 'object';

CREATE VIEW fleet.machines AS
SELECT machine, min(first_seen) AS first_seen, max(attempted) AS last_seen FROM attempts GROUP BY machine;

-- The newest collection of each kind on each machine. collected: of the document that the other views show.
CREATE VIEW fleet.collections AS
SELECT machine, kind, attempted, collected, status, duration_ms, version FROM attempts;

-- The kinds whose newest collection failed. The other views go on showing the document before.
CREATE VIEW fleet.failures AS
SELECT machine, kind, attempted, collected, status, error_name, error_text FROM attempts WHERE status <> 0;

CREATE VIEW fleet.changes AS
SELECT machine, kind, collected, ordinal, change, record, key, before, after FROM fleet_store.changes;

CREATE VIEW fleet.identifiers AS
SELECT machine, kind, value, key FROM fleet_store.identifiers;

CREATE VIEW fleet.bad_lines AS
SELECT file, number, arrived, reason, line FROM fleet_store.bad_lines;
