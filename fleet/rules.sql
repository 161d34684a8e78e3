-- How the records of a document are found again in the next one, and what counts as no value: the rules of `hw-inventory diff`, as
-- data, in SQL that PostgreSQL and SQLite both run. A test compares them with the program's own tables.

-- unique_key: two different values are never the same record. place, other_place: compared in this order where there is none.
-- shown: what people call the record. ignored: changes by itself. looked_up: leads from a part to its machine.
DELETE FROM record_rules;
INSERT INTO record_rules (list, kind, unique_key, place, other_place, shown, ignored, looked_up) VALUES
    ('cpus', 'cpus', NULL, 'socketDesignation', 'name', 'name', NULL, NULL),
    ('gpus', 'gpus', 'serialNumber', 'pciAddress', 'name', 'name', 'temperature', 'serialNumber'),
    ('rams', 'ram', 'serialNumber', 'deviceLocator', 'name', 'deviceLocator', 'name', 'serialNumber'),
    ('disks', 'disks', 'serialNumber', 'name', NULL, 'model', 'availableSpace', 'serialNumber'),
    ('partitions', NULL, NULL, 'name', NULL, 'name', 'availableSpace', NULL),
    ('networkAdapters', 'network-adapters', 'macAddress', 'name', NULL, 'name', 'ipAddresses', 'macAddress'),
    ('motherBoards', 'base-boards', 'serialNumber', 'model', 'name', 'model', NULL, 'serialNumber'),
    ('system', 'system', NULL, NULL, NULL, NULL, 'bootTime', 'serialNumber'),
    ('hotfixes', 'hotfixes', NULL, 'name', NULL, 'name', NULL, NULL);

-- Texts that stand for a value nobody has filled in, in capitals. A '#' is a number.
DELETE FROM placeholders;
INSERT INTO placeholders (text) VALUES
    ('TO BE FILLED BY O.E.M.'), ('TO BE FILLED BY O.E.M'), ('TO BE FILLED BY O.E.M. BY MORE STRING'), ('DEFAULT STRING'),
    ('FILL BY OEM'), ('03000200-0400-0500-0006-000700080009'), ('00020003-0004-0005-0006-000700080009'), ('SERNUM#'),
    ('ASSETTAGNUM#'), ('PARTNUM#'), ('MODULEPARTNUMBER#'), ('MANUFACTURER#'), ('A#_SERNUM#'), ('A#_ASSETTAGNUM#'),
    ('A#_PARTNUM#'), ('A#_MANUFACTURER#'), ('ATN12345678901234567'), ('BSN12345678901234567'), ('DIMM#_ASSETTAG'),
    ('TYPE2 - BOARD SERIAL NUMBER'), ('TYPE2 - BOARD ASSET TAG'), ('TYPE2 - BOARD VENDOR NAME1'),
    ('TYPE2 - BOARD PRODUCT NAME1'), ('SYSTEM SERIAL NUMBER'), ('SYSTEM PRODUCT NAME'), ('SYSTEM MANUFACTURER'),
    ('SYSTEM VERSION'), ('SYSTEM NAME'), ('MB-1234567890'), ('ASSET-1234567890'), ('CHASSIS SERIAL NUMBER'),
    ('CHASSIS MANUFACTURE'), ('CHASSIS MANUFACTURER'), ('CHASSIS VERSION'), ('BASE BOARD SERIAL NUMBER'),
    ('BASE BOARD ASSET TAG'), ('NO ASSET TAG'), ('NO ASSET INFORMATION'), ('X.X'), ('123456789'), ('1234567890'), ('12345678'),
    ('0123456789'), ('9876543210'), ('0123456789ABCDEF'), ('123456789ABCDEF'), ('NOT SPECIFIED'), ('NOT PRESENT'),
    ('NOT SETTABLE'), ('<BAD INDEX>'), ('UNKNOWN'), ('UNDEFINED'), ('UNSPECIFIED'), ('NONE'), ('NULL'), ('(NULL)'), ('N/A'),
    ('NOT AVAILABLE'), ('NOT APPLICABLE'), ('NOT PROVIDED'), ('NOT DEFINED'), ('INVALID'), ('EMPTY'), ('[EMPTY]'), ('NO DIMM'),
    ('SERIALNUMBER'), ('O.E.M.'), ('OEM');

-- Keys of numbers: of these, zeros alone and the like are no value either. Elsewhere zeros are one: a slot, a PCI address.
DELETE FROM number_keys;
INSERT INTO number_keys (key) VALUES ('macAddress'), ('processorID'), ('productID'), ('serialNumber');
