-- Questions to a fleet, for PostgreSQL and SQLite alike. Each has its name, what it answers, and its parameters with a default;
-- "now - 7" is seven days ago. ask.py asks one by its name.

-- who_has: The machine that has a part: by a serial number or a MAC address (with colons), in any case.
--   identifier = BIOS-0000001
SELECT machine, kind, key, value FROM identifiers WHERE value = upper(trim(:identifier)) ORDER BY machine, kind;

-- shared_identifiers: Serial numbers and addresses that more than one machine has: cloned, moved without notice, or made up.
SELECT value, key, count(*) AS machines, min(machine) AS first_machine, max(machine) AS last_machine
FROM identifiers GROUP BY value, key HAVING count(*) > 1 ORDER BY machines DESC, value;

-- lacks_hotfix: Machines that report their hotfixes, but not this one. Those whose hotfixes could never be read are in failures.
--   hotfix = KB5012345
SELECT c.machine, s.machine_name, s.os_name, s.os_release, c.collected
FROM collections c LEFT JOIN systems s ON s.machine = c.machine
WHERE c.kind = 'hotfixes' AND c.collected IS NOT NULL
    AND c.machine NOT IN (SELECT h.machine FROM hotfixes h WHERE h.name = :hotfix)
ORDER BY c.machine;

-- hotfix_spread: How many machines have each hotfix.
SELECT name, count(DISTINCT machine) AS machines FROM hotfixes GROUP BY name ORDER BY machines DESC, name;

-- changes_since: What changed, newest first.
--   since = now - 1
SELECT collected, machine, kind, change, record, key, before, after
FROM changes WHERE collected >= :since ORDER BY collected DESC, machine, kind, ordinal;

-- changes_by_sort: Of what sort the changes are; a sudden pile of one sort is a rollout, or a theft.
--   since = now - 7
SELECT kind, change, key, count(*) AS changes, count(DISTINCT machine) AS machines
FROM changes WHERE collected >= :since GROUP BY kind, change, key ORDER BY changes DESC, kind, change, key;

-- disks_nearly_full: Disks with less than this share of their size left, the emptiest first. Volumes without a letter are free.
--   percent = 10
SELECT machine, name, model, serial_number, size, available_space
FROM disks WHERE size > 0 AND available_space * 100 < size * :percent ORDER BY available_space, machine, ordinal;

-- devices_with_issues: Parts whose status is not ok.
SELECT machine, 'disk' AS part, model, serial_number, status FROM disks WHERE status <> 'ok'
UNION ALL SELECT machine, 'gpu', model, serial_number, status FROM gpus WHERE status <> 'ok'
UNION ALL SELECT machine, 'network adapter', model, mac_address, status FROM network_adapters WHERE status <> 'ok'
ORDER BY machine, part, serial_number;

-- memory_below: Machines with less memory than this many GiB, and what is fitted. The documents list no empty slots.
--   gib = 16
SELECT m.machine, s.manufacturer, s.model, count(*) AS modules, sum(m.capacity) AS bytes
FROM memory_modules m LEFT JOIN systems s ON s.machine = m.machine
GROUP BY m.machine, s.manufacturer, s.model HAVING sum(m.capacity) < 1073741824.0 * :gib ORDER BY bytes, m.machine;

-- not_seen_since: Machines of which nothing came, not even a failure.
--   since = now - 7
SELECT m.machine, s.machine_name, m.first_seen, m.last_seen
FROM machines m LEFT JOIN systems s ON s.machine = m.machine
WHERE m.last_seen < :since ORDER BY m.last_seen, m.machine;

-- models: How many machines there are of each model.
SELECT manufacturer, model, type, count(*) AS machines
FROM systems GROUP BY manufacturer, model, type ORDER BY machines DESC, manufacturer, model, type;

-- failures_by_status: Kinds whose newest collection failed, by status; documents: how many of them still show an older document.
SELECT kind, status, error_name, count(*) AS machines, count(collected) AS documents
FROM failures GROUP BY kind, status, error_name ORDER BY machines DESC, kind, status;
