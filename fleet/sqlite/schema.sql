-- The inventory of a fleet in SQLite 3.38 or later, for a desk or a test: the views of the server's database, and the tables behind
-- them. load.py applies it. Times are texts in UTC, as PostgreSQL prints them: 2026-11-22 10:30:00+00. Whole numbers above 2^63 -
-- 1, which SQLite has not got, are texts of their digits.
CREATE TABLE IF NOT EXISTS record_rules (
    list TEXT PRIMARY KEY, kind TEXT, unique_key TEXT, place TEXT, other_place TEXT, shown TEXT, ignored TEXT, looked_up TEXT);
CREATE TABLE IF NOT EXISTS placeholders (text TEXT PRIMARY KEY);
CREATE TABLE IF NOT EXISTS number_keys (key TEXT PRIMARY KEY);
CREATE TABLE IF NOT EXISTS bad_lines (
    file TEXT, number INTEGER, digest TEXT, arrived TEXT, reason TEXT, line TEXT, PRIMARY KEY (file, number, digest));
CREATE TABLE IF NOT EXISTS attempts (
    machine TEXT, kind TEXT, first_seen TEXT, attempted TEXT, collected TEXT, status INTEGER, error_name TEXT, error_text TEXT,
    duration_ms INTEGER, version TEXT, PRIMARY KEY (machine, kind)) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS documents (machine TEXT, kind TEXT, document TEXT, PRIMARY KEY (machine, kind));
CREATE INDEX IF NOT EXISTS documents_kind ON documents (kind);
CREATE TABLE IF NOT EXISTS changes (
    machine TEXT, kind TEXT, collected TEXT, ordinal INTEGER, change TEXT, record TEXT, key TEXT, before TEXT, after TEXT,
    PRIMARY KEY (machine, kind, collected, ordinal));
CREATE INDEX IF NOT EXISTS changes_collected ON changes (collected);
CREATE TABLE IF NOT EXISTS identifiers (machine TEXT, kind TEXT, value TEXT, key TEXT, PRIMARY KEY (machine, kind, value));
CREATE INDEX IF NOT EXISTS identifiers_value ON identifiers (value);

DROP VIEW IF EXISTS cpus;
CREATE VIEW cpus AS
SELECT d.machine, r.key + 1 AS ordinal, r.value ->> '$.name' AS name, r.value ->> '$.manufacturer' AS manufacturer,
    r.value ->> '$.model' AS model, r.value ->> '$.status' AS status, r.value ->> '$.maxClockSpeed' AS max_clock_speed,
    r.value ->> '$.cores' AS cores, r.value ->> '$.socketDesignation' AS socket_designation,
    r.value ->> '$.processorID' AS processor_id
FROM documents d, json_each(d.document, '$.cpus') r
WHERE d.kind = 'cpus' AND r.type = 'object';

DROP VIEW IF EXISTS gpus;
CREATE VIEW gpus AS
SELECT d.machine, r.key + 1 AS ordinal, r.value ->> '$.name' AS name, r.value ->> '$.manufacturer' AS manufacturer,
    r.value ->> '$.model' AS model, r.value ->> '$.status' AS status, r.value ->> '$.deviceID' AS device_id,
    r.value ->> '$.pciAddress' AS pci_address, r.value ->> '$.serialNumber' AS serial_number,
    r.value ->> '$.temperature' AS temperature
FROM documents d, json_each(d.document, '$.gpus') r
WHERE d.kind = 'gpus' AND r.type = 'object';

DROP VIEW IF EXISTS memory_modules;
CREATE VIEW memory_modules AS
SELECT d.machine, r.key + 1 AS ordinal, r.value ->> '$.name' AS name, r.value ->> '$.manufacturer' AS manufacturer,
    r.value ->> '$.model' AS model, r.value ->> '$.serialNumber' AS serial_number,
    CASE json_type(r.value, '$.capacity') WHEN 'integer' THEN
        iif(typeof(r.value ->> '$.capacity') = 'integer', r.value ->> '$.capacity', r.value -> '$.capacity') END AS capacity,
    r.value ->> '$.deviceLocator' AS device_locator
FROM documents d, json_each(d.document, '$.rams') r
WHERE d.kind = 'ram' AND r.type = 'object';

DROP VIEW IF EXISTS disks;
CREATE VIEW disks AS
SELECT d.machine, r.key + 1 AS ordinal, r.value ->> '$.name' AS name, r.value ->> '$.manufacturer' AS manufacturer,
    r.value ->> '$.model' AS model, r.value ->> '$.status' AS status, r.value ->> '$.serialNumber' AS serial_number,
    r.value ->> '$.interfaceType' AS interface_type, r.value ->> '$.mediaType' AS media_type,
    CASE json_type(r.value, '$.size') WHEN 'integer' THEN
        iif(typeof(r.value ->> '$.size') = 'integer', r.value ->> '$.size', r.value -> '$.size') END AS size,
    CASE json_type(r.value, '$.availableSpace') WHEN 'integer' THEN
        iif(typeof(r.value ->> '$.availableSpace') = 'integer', r.value ->> '$.availableSpace', r.value -> '$.availableSpace') END
        AS available_space
FROM documents d, json_each(d.document, '$.disks') r
WHERE d.kind = 'disks' AND r.type = 'object';

DROP VIEW IF EXISTS partitions;
CREATE VIEW partitions AS
SELECT d.machine, r.key + 1 AS disk, p.key + 1 AS ordinal, p.value ->> '$.name' AS name,
    CASE json_type(p.value, '$.size') WHEN 'integer' THEN
        iif(typeof(p.value ->> '$.size') = 'integer', p.value ->> '$.size', p.value -> '$.size') END AS size,
    CASE json_type(p.value, '$.availableSpace') WHEN 'integer' THEN
        iif(typeof(p.value ->> '$.availableSpace') = 'integer', p.value ->> '$.availableSpace', p.value -> '$.availableSpace') END
        AS available_space,
    p.value ->> '$.status' AS status
FROM documents d, json_each(d.document, '$.disks') r, json_each(CASE r.type WHEN 'object' THEN r.value END, '$.partitions') p
WHERE d.kind = 'disks' AND p.type = 'object';

DROP VIEW IF EXISTS network_adapters;
CREATE VIEW network_adapters AS
SELECT d.machine, r.key + 1 AS ordinal, r.value ->> '$.name' AS name, r.value ->> '$.manufacturer' AS manufacturer,
    r.value ->> '$.model' AS model, r.value ->> '$.status' AS status, r.value ->> '$.deviceID' AS device_id,
    r.value ->> '$.type' AS type,
    r.value ->> '$.macAddress' AS mac_address, r.value -> '$.ipAddresses' AS ip_addresses
FROM documents d, json_each(d.document, '$.networkAdapters') r
WHERE d.kind = 'network-adapters' AND r.type = 'object';

DROP VIEW IF EXISTS boards;
CREATE VIEW boards AS
SELECT d.machine, r.key + 1 AS ordinal, r.value ->> '$.name' AS name, r.value ->> '$.manufacturer' AS manufacturer,
    r.value ->> '$.model' AS model, r.value ->> '$.status' AS status, r.value ->> '$.serialNumber' AS serial_number
FROM documents d, json_each(d.document, '$.motherBoards') r
WHERE d.kind = 'base-boards' AND r.type = 'object';

DROP VIEW IF EXISTS systems;
CREATE VIEW systems AS
SELECT d.machine, d.document ->> '$.system.machineName' AS machine_name, d.document ->> '$.system.manufacturer' AS manufacturer,
    d.document ->> '$.system.model' AS model, d.document ->> '$.system.productID' AS product_id,
    d.document ->> '$.system.serialNumber' AS serial_number, d.document ->> '$.system.type' AS type,
    d.document ->> '$.system.biosVersion' AS bios_version, d.document ->> '$.system.osInfo.name' AS os_name,
    d.document ->> '$.system.osInfo.version' AS os_version, d.document ->> '$.system.osInfo.releaseId' AS os_release,
    d.document ->> '$.system.installationDate' AS installation_date, d.document ->> '$.system.bootTime' AS boot_time,
    d.document ->> '$.system.domain' AS domain, d.document ->> '$.system.owner' AS owner,
    d.document ->> '$.system.organization' AS organization, d.document ->> '$.system.timezone' AS timezone,
    d.document ->> '$.system.systemLocale' AS system_locale
FROM documents d
WHERE d.kind = 'system';

DROP VIEW IF EXISTS hotfixes;
CREATE VIEW hotfixes AS
SELECT d.machine, r.key + 1 AS ordinal, r.value ->> '$.name' AS name, r.value ->> '$.installationDate' AS installation_date
FROM documents d, json_each(d.document, '$.hotfixes') r
WHERE d.kind = 'hotfixes' AND r.type = 'object';

DROP VIEW IF EXISTS machines;
CREATE VIEW machines AS
SELECT machine, min(first_seen) AS first_seen, max(attempted) AS last_seen FROM attempts GROUP BY machine;

DROP VIEW IF EXISTS collections;
CREATE VIEW collections AS
SELECT machine, kind, attempted, collected, status, duration_ms, version FROM attempts;

DROP VIEW IF EXISTS failures;
CREATE VIEW failures AS
SELECT machine, kind, attempted, collected, status, error_name, error_text FROM attempts WHERE status <> 0;
