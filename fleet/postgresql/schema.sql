-- The inventory of a fleet in PostgreSQL 15 or later. As the owner of the database, to be repeated at will (it upgrades, too):
--   psql -X -d DATABASE -f schema.sql
-- Lines of NDJSON come into fleet.arrivals; fleet.load() takes them from there. People read the views of the schema fleet, whose
-- tables are in fleet_store. Each table of inventories has the machine first in its key, so that machines can be spread over
-- servers.
\set ON_ERROR_STOP on
SET client_min_messages = warning;
BEGIN;
CREATE SCHEMA IF NOT EXISTS fleet;
CREATE SCHEMA IF NOT EXISTS fleet_store;
SET LOCAL search_path = fleet_store;

CREATE TABLE IF NOT EXISTS record_rules (
    list text PRIMARY KEY,
    kind text,
    unique_key text,
    place text,
    other_place text,
    shown text,
    ignored text,
    looked_up text
);
CREATE TABLE IF NOT EXISTS placeholders (text text PRIMARY KEY);
CREATE TABLE IF NOT EXISTS number_keys (key text PRIMARY KEY);
\ir ../rules.sql

-- Unlogged: whoever inserts here still has the file. After a crash of the server it is empty, and the file is loaded again.
CREATE UNLOGGED TABLE IF NOT EXISTS fleet.arrivals (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    file text NOT NULL DEFAULT '',
    number bigint NOT NULL DEFAULT 0,
    line text NOT NULL,
    fault text, -- what the sender has seen wrong with it
    arrived timestamptz NOT NULL DEFAULT now()
);

-- What no envelope could be read from.
CREATE TABLE IF NOT EXISTS bad_lines (
    file text NOT NULL,
    number bigint NOT NULL,
    digest text NOT NULL, -- of the line
    arrived timestamptz NOT NULL,
    reason text NOT NULL,
    line text NOT NULL,
    PRIMARY KEY (file, number, digest)
);

-- The newest collection of each kind, failures included. Narrow, because each day changes every row of it.
CREATE TABLE IF NOT EXISTS attempts (
    machine text NOT NULL,
    kind text NOT NULL,
    first_seen timestamptz NOT NULL,
    attempted timestamptz NOT NULL, -- the newest collection of all
    collected timestamptz, -- the newest one that gave a document
    status numeric NOT NULL, -- of the newest, as are the next four
    error_name text,
    error_text text,
    duration_ms numeric,
    version text,
    PRIMARY KEY (machine, kind)
) WITH (fillfactor = 70);

-- In a table for each kind, so that a question about one kind reads no other.
CREATE TABLE IF NOT EXISTS documents (
    machine text NOT NULL,
    kind text NOT NULL,
    document jsonb NOT NULL,
    PRIMARY KEY (machine, kind)
) PARTITION BY LIST (kind);
DO $$
DECLARE
    each text;
BEGIN
    FOR each IN SELECT r.kind FROM fleet_store.record_rules r WHERE r.kind IS NOT NULL LOOP
        EXECUTE format('CREATE TABLE IF NOT EXISTS fleet_store.%I PARTITION OF fleet_store.documents FOR VALUES IN (%L)',
            'documents_' || translate(each, '-', '_'), each);
    END LOOP;
END $$;

-- What changed from a document to the next one, one row for each key or record.
CREATE TABLE IF NOT EXISTS changes (
    machine text NOT NULL,
    kind text NOT NULL,
    collected timestamptz NOT NULL, -- of the document that has it
    ordinal integer NOT NULL,
    change text NOT NULL, -- changed, added, removed
    record text NOT NULL,
    key text NOT NULL,
    before jsonb,
    after jsonb,
    PRIMARY KEY (machine, kind, collected, ordinal)
);
CREATE INDEX IF NOT EXISTS changes_collected ON changes (collected);

-- The serial numbers and addresses of the newest documents, in capitals; those above 200 characters are left out.
CREATE TABLE IF NOT EXISTS identifiers (
    machine text NOT NULL,
    kind text NOT NULL,
    value text NOT NULL,
    key text NOT NULL,
    PRIMARY KEY (machine, kind, value)
);
CREATE INDEX IF NOT EXISTS identifiers_value ON identifiers (value);

-- Whether a text, trimmed and in capitals, is nothing but zeros or signs: "0X0000", "FF:FF:FF", "....".
CREATE OR REPLACE FUNCTION is_filler(value text) RETURNS boolean LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT value ~ '^[0FX:. *_?#-]+$' AND (value ~ '^(0X)?([:. -]{4,}|[:. -]*0[0:. -]*)$'
        OR value ~ '^(0X)?(([:. -]*F){4,}|([:. -]*X){4,}|([:. -]*[*]){4,}|([:. -]*_){4,}|([:. -]*[?]){4,}|([:. -]*#){4,})[:. -]*$')
$$;

-- Whether a text, trimmed and in capitals, stands for no value of a key.
CREATE OR REPLACE FUNCTION is_placeholder(key text, value text) RETURNS boolean LANGUAGE sql STABLE AS $$
    SELECT EXISTS (SELECT FROM fleet_store.placeholders p WHERE p.text IN (value, regexp_replace(value, '[0-9]+', '#', 'g')))
        OR fleet_store.is_filler(value) AND EXISTS (SELECT FROM fleet_store.number_keys n WHERE n.key = is_placeholder.key)
$$;

-- The form in which two texts of a record are compared; null if there is none.
CREATE OR REPLACE FUNCTION comparable(record jsonb, key text) RETURNS text LANGUAGE plpgsql STABLE AS $$
DECLARE
    value text;
BEGIN
    IF jsonb_typeof(record -> key) = 'string' THEN
        value := upper(btrim(record ->> key, E' \t\r\n\v\f') COLLATE "C");
        IF value <> '' AND NOT fleet_store.is_placeholder(key, value) THEN
            RETURN value;
        END IF;
    END IF;
    RETURN NULL;
END $$;

DO $$
BEGIN
    IF to_regtype('fleet_store.difference') IS NULL THEN
        CREATE TYPE fleet_store.difference AS (change text, record text, key text, before jsonb, after jsonb);
    END IF;
END $$;

-- What people call a record: its name, then its serial number or address in brackets.
CREATE OR REPLACE FUNCTION label_of(record jsonb, rules fleet_store.record_rules, index integer) RETURNS text
LANGUAGE plpgsql STABLE AS $$
DECLARE
    keys text[] := ARRAY[rules.shown, rules.place, rules.other_place, rules.unique_key];
    name text;
    value text;
BEGIN
    FOR i IN 1 .. 4 LOOP
        CONTINUE WHEN jsonb_typeof(record -> keys[i]) IS DISTINCT FROM 'string';
        value := regexp_replace(btrim(record ->> keys[i], E' \t\r\n\v\f'), '[\u0001-\u001f\u007f-\u009f]', '?', 'g');
        IF value = '' THEN
            CONTINUE;
        ELSIF name IS NULL THEN
            name := value;
        ELSIF i = 4 AND NOT fleet_store.is_placeholder(keys[i], upper(value COLLATE "C")) THEN
            RETURN name || ' (' || value || ')';
        END IF;
    END LOOP;
    RETURN coalesce(name, 'no. ' || index);
END $$;

-- For each record of the first list, the place of the one that it is in the second; null if it is gone. A pair is of equal unique
-- values, else of an equal place, else of two records without any of them. Of several that would do, the first is taken.
CREATE OR REPLACE FUNCTION pairs(before jsonb, after jsonb, rules fleet_store.record_rules) RETURNS integer[]
LANGUAGE plpgsql STABLE AS $$
DECLARE
    keys text[] := ARRAY[rules.unique_key, rules.place, rules.other_place];
    old_count integer := jsonb_array_length(before);
    new_count integer := jsonb_array_length(after);
    found integer[] := array_fill(NULL::integer, ARRAY[old_count]);
    old_unique text[];
    new_unique text[];
    wanted text[];
    offered text[];
    position integer;
BEGIN
    FOR old IN 1 .. old_count LOOP
        old_unique[old] := fleet_store.comparable(before -> old - 1, rules.unique_key);
    END LOOP;
    FOR new IN 1 .. new_count LOOP
        new_unique[new] := fleet_store.comparable(after -> new - 1, rules.unique_key);
    END LOOP;
    FOR pass IN 1 .. 4 LOOP
        CONTINUE WHEN pass < 4 AND keys[pass] IS NULL;
        EXIT WHEN array_position(found, NULL) IS NULL;
        FOR old IN 1 .. old_count LOOP
            wanted[old] := CASE WHEN pass < 4 THEN fleet_store.comparable(before -> old - 1, keys[pass])
                WHEN coalesce(old_unique[old], fleet_store.comparable(before -> old - 1, rules.place),
                    fleet_store.comparable(before -> old - 1, rules.other_place)) IS NULL THEN '' END;
        END LOOP;
        FOR new IN 1 .. new_count LOOP
            offered[new] := CASE WHEN array_position(found, new) IS NOT NULL THEN NULL
                WHEN pass < 4 THEN fleet_store.comparable(after -> new - 1, keys[pass])
                WHEN coalesce(new_unique[new], fleet_store.comparable(after -> new - 1, rules.place),
                    fleet_store.comparable(after -> new - 1, rules.other_place)) IS NULL THEN '' END;
        END LOOP;
        FOR old IN 1 .. old_count LOOP
            CONTINUE WHEN found[old] IS NOT NULL OR wanted[old] IS NULL;
            position := array_position(offered, wanted[old]);
            WHILE old_unique[old] <> new_unique[position] LOOP
                position := array_position(offered, wanted[old], position + 1);
            END LOOP;
            IF position IS NOT NULL THEN
                found[old] := position;
                offered[position] := NULL;
            END IF;
        END LOOP;
    END LOOP;
    RETURN found;
END $$;

-- The differences of two objects. list: whose rules hold for them; null for a whole document. path: of the objects in their record.
CREATE OR REPLACE FUNCTION compare(before jsonb, after jsonb, record text, path text, list text)
RETURNS SETOF fleet_store.difference LANGUAGE plpgsql STABLE AS $$
DECLARE
    rules fleet_store.record_rules;
    own fleet_store.record_rules;
    name text;
    label text;
    old_value jsonb;
    new_value jsonb;
    other jsonb;
    found integer[];
BEGIN
    SELECT * INTO rules FROM fleet_store.record_rules r WHERE r.list = compare.list;
    FOR name IN
        SELECT k COLLATE "C" FROM (SELECT jsonb_object_keys(before) AS k UNION SELECT jsonb_object_keys(after)) keys ORDER BY 1
    LOOP
        old_value := before -> name;
        new_value := after -> name;
        CONTINUE WHEN name = rules.ignored OR old_value IS NOT DISTINCT FROM new_value;
        SELECT * INTO own FROM fleet_store.record_rules r WHERE r.list = name;
        IF own.list IS NOT NULL AND coalesce(jsonb_typeof(old_value), 'array') = 'array'
            AND coalesce(jsonb_typeof(new_value), 'array') = 'array' THEN
            old_value := coalesce(old_value, '[]');
            new_value := coalesce(new_value, '[]');
            found := fleet_store.pairs(old_value, new_value, own);
            FOR i IN 1 .. jsonb_array_length(old_value) LOOP
                label := concat_ws(', ', nullif(record, ''), fleet_store.label_of(old_value -> i - 1, own, i));
                other := new_value -> found[i] - 1;
                IF found[i] IS NULL THEN
                    RETURN NEXT ('removed', label, '', old_value -> i - 1, NULL)::fleet_store.difference;
                ELSIF jsonb_typeof(old_value -> i - 1) = 'object' AND jsonb_typeof(other) = 'object' THEN
                    RETURN QUERY SELECT * FROM fleet_store.compare(old_value -> i - 1, other, label, '', name);
                ELSIF old_value -> i - 1 <> other THEN
                    RETURN NEXT ('changed', label, '', old_value -> i - 1, other)::fleet_store.difference;
                END IF;
            END LOOP;
            FOR i IN 1 .. jsonb_array_length(new_value) LOOP
                CONTINUE WHEN array_position(found, i) IS NOT NULL;
                label := concat_ws(', ', nullif(record, ''), fleet_store.label_of(new_value -> i - 1, own, i));
                RETURN NEXT ('added', label, '', NULL, new_value -> i - 1)::fleet_store.difference;
            END LOOP;
        ELSIF jsonb_typeof(old_value) = 'object' AND jsonb_typeof(new_value) = 'object' THEN
            RETURN QUERY SELECT * FROM fleet_store.compare(old_value, new_value, record,
                CASE WHEN own.list IS NULL THEN path || name || '/' ELSE path END, coalesce(own.list, list));
        ELSE
            RETURN NEXT ('changed', record, path || name, old_value, new_value)::fleet_store.difference;
        END IF;
    END LOOP;
END $$;

-- A time as envelopes have it; null if it is none.
CREATE OR REPLACE FUNCTION time_of(envelope jsonb) RETURNS timestamptz LANGUAGE sql STABLE AS $$
    SELECT CASE WHEN envelope ->> 'collected' ~ '^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d([.]\d{1,6})?Z$'
        THEN (envelope ->> 'collected')::timestamptz END
$$;

-- A line as JSON, else what is wrong with it.
CREATE OR REPLACE FUNCTION read_line(line text, OUT envelope jsonb, OUT collected timestamptz, OUT fault text)
LANGUAGE plpgsql STABLE AS $$
BEGIN
    envelope := line;
    collected := fleet_store.time_of(envelope);
EXCEPTION WHEN OTHERS THEN
    fault := SQLERRM;
END $$;

CREATE OR REPLACE FUNCTION number_of(value jsonb) RETURNS numeric LANGUAGE sql IMMUTABLE PARALLEL SAFE AS $$
    SELECT CASE WHEN jsonb_typeof(value) = 'number' THEN value::numeric END
$$;

-- Takes the arrivals that are there. One such call runs at a time; lines may arrive meanwhile. At an isolation level above read
-- committed a call that had to wait for another fails to serialise, and is to be repeated.
-- lines: that were read; bad: of these, kept in bad_lines; documents: new, or different from the one before; failures: of
-- collections; changes: rows of the history.
CREATE OR REPLACE FUNCTION fleet.load(
    OUT lines bigint, OUT bad bigint, OUT documents bigint, OUT failures bigint, OUT changes bigint)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = fleet_store, pg_temp SET work_mem = '64MB'
SET jit = off AS $$
DECLARE
    chunk CONSTANT integer := 10000;
    careful boolean;
    low bigint;
    high bigint;
    counts record;
    parts_ignored text;
BEGIN
    PERFORM pg_advisory_xact_lock(hashtext('fleet.load'));
    SELECT r.ignored INTO parts_ignored FROM record_rules r WHERE r.list = 'partitions';
    lines := 0; bad := 0; documents := 0; failures := 0; changes := 0;
    low := 0;
    LOOP
        SELECT max(c.id) INTO high FROM (SELECT a.id FROM fleet.arrivals a WHERE a.id > low ORDER BY a.id LIMIT chunk) c;
        EXIT WHEN high IS NULL;
        -- Reading each line with an exception handler of its own costs twice as much: that waits until a chunk has a line that
        -- needs it.
        FOR round IN 1 .. 2 LOOP
            careful := round = 2;
            BEGIN
                WITH taken AS (
                    DELETE FROM fleet.arrivals a WHERE a.id > low AND a.id <= high RETURNING *
                ), read AS MATERIALIZED (
                    SELECT t.id, t.file, t.number, t.arrived, t.line, r.collected, r.envelope ->> 'machine' AS machine,
                        r.envelope ->> 'kind' AS kind, r.envelope -> 'document' AS document, r.envelope -> 'error' AS error,
                        number_of(r.envelope -> 'durationMs') AS duration_ms, r.envelope ->> 'version' AS version,
                        rules.list, rules.ignored, rules.looked_up,
                        coalesce(t.fault, r.fault, CASE
                            WHEN rules.list IS NULL THEN 'no kind of document'
                            WHEN r.collected IS NULL THEN 'no time of collection'
                            WHEN r.collected > now() + interval '1 day' THEN 'collected in the future'
                            WHEN jsonb_typeof(r.envelope -> 'machine') IS DISTINCT FROM 'string' THEN 'no machine'
                            WHEN length(r.envelope ->> 'machine') NOT BETWEEN 1 AND 255
                                THEN 'the name of the machine is empty or too long'
                            WHEN jsonb_typeof(r.envelope -> 'document') = 'null' THEN CASE
                                WHEN number_of(r.envelope -> 'error' -> 'status') IS NULL THEN 'neither a document nor an error' END
                            WHEN jsonb_typeof(r.envelope -> 'document' -> rules.list) IS DISTINCT FROM
                                CASE rules.list WHEN 'system' THEN 'object' ELSE 'array' END THEN 'no document of its kind'
                            END) AS fault
                    FROM taken t CROSS JOIN LATERAL (
                        SELECT l.envelope, l.collected, l.fault FROM read_line(t.line) l WHERE careful
                        UNION ALL
                        SELECT e, time_of(e), NULL FROM (SELECT t.line::jsonb AS e OFFSET 0) plain WHERE NOT careful
                    ) r
                    LEFT JOIN record_rules rules ON rules.kind = r.envelope ->> 'kind'
                ), aside AS (
                    INSERT INTO bad_lines (file, number, digest, arrived, reason, line)
                    SELECT r.file, r.number, md5(r.line), r.arrived, r.fault, r.line FROM read r WHERE r.fault IS NOT NULL
                    ON CONFLICT DO NOTHING
                ), news AS MATERIALIZED (
                    SELECT r.*, jsonb_typeof(r.document) = 'object' AS succeeded, a.collected AS known_collected
                    FROM read r
                    -- LIMIT has each row looked up by the key, whatever the planner takes the size of the tables for.
                    LEFT JOIN LATERAL (SELECT * FROM attempts a WHERE a.machine = r.machine AND a.kind = r.kind LIMIT 1) a ON true
                    WHERE r.fault IS NULL
                ), newest_attempt AS (
                    SELECT DISTINCT ON (n.machine, n.kind) n.machine, n.kind, n.collected, n.succeeded, n.error, n.duration_ms,
                        n.version, min(n.collected) OVER one AS earliest,
                        max(n.collected) FILTER (WHERE n.succeeded) OVER one AS newest_document
                    FROM news n
                    WINDOW one AS (PARTITION BY n.machine, n.kind)
                    ORDER BY n.machine, n.kind, n.collected DESC, n.id
                ), attempted AS (
                    INSERT INTO attempts AS a (
                        machine, kind, first_seen, attempted, collected, status, error_name, error_text, duration_ms, version)
                    SELECT n.machine, n.kind, n.earliest, n.collected, n.newest_document,
                        CASE WHEN n.succeeded THEN 0 ELSE number_of(n.error -> 'status') END,
                        CASE WHEN NOT n.succeeded THEN n.error ->> 'name' END,
                        CASE WHEN NOT n.succeeded THEN n.error ->> 'text' END, n.duration_ms, n.version
                    FROM newest_attempt n
                    ON CONFLICT (machine, kind) DO UPDATE SET
                        first_seen = least(a.first_seen, excluded.first_seen),
                        attempted = greatest(a.attempted, excluded.attempted),
                        collected = greatest(a.collected, excluded.collected),
                        status = CASE WHEN excluded.attempted > a.attempted THEN excluded.status ELSE a.status END,
                        error_name = CASE WHEN excluded.attempted > a.attempted THEN excluded.error_name ELSE a.error_name END,
                        error_text = CASE WHEN excluded.attempted > a.attempted THEN excluded.error_text ELSE a.error_text END,
                        duration_ms = CASE WHEN excluded.attempted > a.attempted THEN excluded.duration_ms ELSE a.duration_ms END,
                        version = CASE WHEN excluded.attempted > a.attempted THEN excluded.version ELSE a.version END
                    WHERE excluded.attempted > a.attempted OR excluded.first_seen < a.first_seen
                        OR excluded.collected > coalesce(a.collected, '-infinity')
                ), steps AS MATERIALIZED (
                    -- The documents that are newer than all that came before them, each with the one before it.
                    SELECT n.*, coalesce(lag(n.document) OVER arrival, d.document) AS previous,
                        lead(n.id) OVER arrival IS NULL AS is_last
                    FROM (SELECT f.*, max(f.collected) OVER (PARTITION BY f.machine, f.kind ORDER BY f.id
                            ROWS BETWEEN UNBOUNDED PRECEDING AND 1 PRECEDING) AS newest_before
                        FROM news f WHERE f.succeeded) n
                    LEFT JOIN LATERAL (SELECT * FROM documents d WHERE d.machine = n.machine AND d.kind = n.kind LIMIT 1) d ON true
                    WHERE n.collected > greatest(n.newest_before, n.known_collected, '-infinity')
                    WINDOW arrival AS (PARTITION BY n.machine, n.kind ORDER BY n.id)
                ), moved AS MATERIALIZED (
                    -- What differs; has_changes: not only in what changes by itself.
                    SELECT s.machine, s.kind, s.collected, s.previous, s.document, s.previous IS NOT NULL AND (
                        SELECT count(DISTINCT CASE
                            WHEN s.ignored IS NULL THEN side
                            WHEN jsonb_typeof(side -> s.list) = 'object' THEN side #- ARRAY[s.list, s.ignored]
                            ELSE jsonb_set(side, ARRAY[s.list], (
                                SELECT coalesce(jsonb_agg(CASE
                                    WHEN jsonb_typeof(r) <> 'object' THEN r
                                    WHEN jsonb_typeof(r -> 'partitions') = 'array' THEN jsonb_set(r - s.ignored, '{partitions}', (
                                        SELECT coalesce(jsonb_agg(
                                            CASE jsonb_typeof(p) WHEN 'object' THEN p - parts_ignored ELSE p END), '[]')
                                        FROM jsonb_array_elements(r -> 'partitions') AS p))
                                    ELSE r - s.ignored END), '[]')
                                FROM jsonb_array_elements(side -> s.list) AS r))
                            END)
                        FROM unnest(ARRAY[s.previous, s.document]) AS side) = 2 AS has_changes
                    FROM steps s WHERE s.previous IS DISTINCT FROM s.document
                ), stored AS (
                    INSERT INTO documents AS d (machine, kind, document)
                    SELECT m.machine, m.kind, m.document FROM steps m WHERE m.is_last
                    ON CONFLICT (machine, kind) DO UPDATE SET document = excluded.document WHERE d.document <> excluded.document
                ), recorded AS (
                    INSERT INTO changes
                    SELECT m.machine, m.kind, m.collected, c.ordinality, c.change, c.record, c.key, c.before, c.after
                    FROM moved m CROSS JOIN LATERAL compare(m.previous, m.document, '', '', NULL) WITH ORDINALITY AS c
                    WHERE m.has_changes
                    RETURNING 1
                ), reidentified AS (
                    SELECT s.machine, s.kind, s.list, s.looked_up, s.document FROM steps s
                    WHERE s.is_last AND s.looked_up IS NOT NULL
                        AND (s.previous IS NULL
                            OR EXISTS (SELECT FROM moved m WHERE m.machine = s.machine AND m.kind = s.kind AND m.has_changes))
                ), found AS MATERIALIZED (
                    -- What comparable() gives, of all at once.
                    SELECT DISTINCT i.machine, i.kind, i.value, i.looked_up AS key
                    FROM (SELECT r.machine, r.kind, r.looked_up,
                            upper(btrim(record ->> r.looked_up, E' \t\r\n\v\f') COLLATE "C") AS value
                        FROM reidentified r
                        CROSS JOIN LATERAL jsonb_array_elements(CASE jsonb_typeof(r.document -> r.list)
                            WHEN 'array' THEN r.document -> r.list ELSE jsonb_build_array(r.document -> r.list) END) AS record
                        WHERE jsonb_typeof(record -> r.looked_up) = 'string' OFFSET 0) i
                    WHERE length(i.value) BETWEEN 1 AND 200
                        AND i.value NOT IN (SELECT p.text FROM placeholders p)
                        AND regexp_replace(i.value, '[0-9]+', '#', 'g') NOT IN (SELECT p.text FROM placeholders p)
                        AND NOT (is_filler(i.value) AND i.looked_up IN (SELECT n.key FROM number_keys n))
                ), forgotten AS (
                    DELETE FROM identifiers i USING reidentified r
                    WHERE i.machine = r.machine AND i.kind = r.kind
                        AND (i.machine, i.kind, i.value) NOT IN (SELECT f.machine, f.kind, f.value FROM found f)
                ), identified AS (
                    INSERT INTO identifiers (machine, kind, value, key)
                    SELECT f.machine, f.kind, f.value, f.key FROM found f ON CONFLICT DO NOTHING
                )
                SELECT (SELECT count(*) FROM read) AS lines, (SELECT count(*) FROM read r WHERE r.fault IS NOT NULL) AS bad,
                    (SELECT count(*) FROM moved) AS documents, (SELECT count(*) FROM news n WHERE NOT n.succeeded) AS failures,
                    (SELECT count(*) FROM recorded) AS changes
                INTO counts;
                EXIT;
            EXCEPTION WHEN data_exception OR program_limit_exceeded THEN
                IF careful THEN
                    RAISE;
                END IF;
            END;
        END LOOP;
        lines := lines + counts.lines;
        bad := bad + counts.bad;
        documents := documents + counts.documents;
        failures := failures + counts.failures;
        changes := changes + counts.changes;
        low := high;
    END LOOP;
END $$;

-- Forgets the history and bad lines from before one time, and the machines that were not seen since another.
CREATE OR REPLACE FUNCTION fleet.forget(history_before timestamptz, unseen_since timestamptz DEFAULT '-infinity',
    OUT changes bigint, OUT bad_lines bigint, OUT machines bigint)
LANGUAGE plpgsql SET search_path = fleet_store, pg_temp AS $$
BEGIN
    PERFORM pg_advisory_xact_lock(hashtext('fleet.load'));
    DELETE FROM changes c WHERE c.collected < history_before;
    GET DIAGNOSTICS changes = ROW_COUNT;
    DELETE FROM bad_lines b WHERE b.arrived < history_before;
    GET DIAGNOSTICS bad_lines = ROW_COUNT;
    CREATE TEMP TABLE gone ON COMMIT DROP AS
        SELECT a.machine FROM attempts a GROUP BY a.machine HAVING max(a.attempted) < unseen_since;
    DELETE FROM identifiers i USING gone g WHERE i.machine = g.machine;
    DELETE FROM documents d USING gone g WHERE d.machine = g.machine;
    DELETE FROM changes c USING gone g WHERE c.machine = g.machine;
    DELETE FROM attempts a USING gone g WHERE a.machine = g.machine;
    SELECT count(*) INTO machines FROM gone;
    DROP TABLE gone;
END $$;

\ir views.sql

\ir roles.sql
REVOKE EXECUTE ON ALL FUNCTIONS IN SCHEMA fleet, fleet_store FROM PUBLIC;
GRANT USAGE ON SCHEMA fleet TO fleet_loader, fleet_reader;
GRANT INSERT (file, number, line, fault, arrived) ON fleet.arrivals TO fleet_loader;
GRANT EXECUTE ON FUNCTION fleet.load() TO fleet_loader;
GRANT EXECUTE ON FUNCTION fleet_store.number_of(jsonb) TO fleet_reader; -- the views call it
\ir grants.sql
COMMIT;
