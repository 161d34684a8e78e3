-- The inventory of a fleet on several servers. On the server that people ask, which holds no inventories itself:
--   psql -X -d DATABASE -v shards="host=one dbname=fleet;host=two dbname=fleet;host=three dbname=fleet" -f coordinator.sql
-- Each shard has schema.sql and shard.sql. A machine's rows are on the shard that the hash of its name gives, by PostgreSQL's own
-- hash partitions. load.sh, the views and the questions are those of a single server. The number of shards is fixed by the first
-- run.
\set ON_ERROR_STOP on
SET client_min_messages = warning;
BEGIN;
CREATE EXTENSION IF NOT EXISTS postgres_fdw;
CREATE SCHEMA IF NOT EXISTS fleet;

CREATE UNLOGGED TABLE fleet.arrivals (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    file text NOT NULL DEFAULT '',
    number bigint NOT NULL DEFAULT 0,
    line text NOT NULL,
    fault text,
    arrived timestamptz NOT NULL DEFAULT now()
);

\ir ../postgresql/roles.sql

-- A table of foreign partitions for each view of the shards that has machines.
SELECT set_config('fleet.shards', :'shards', true) \g /dev/null
DO $$
DECLARE
    shards text[] := string_to_array(current_setting('fleet.shards'), ';');
    shard text;
    options text;
    view text;
BEGIN
    FOR i IN 1 .. cardinality(shards) LOOP
        shard := 'fleet_shard_' || i;
        SELECT string_agg(format('%I %L', split_part(o, '=', 1), split_part(o, '=', 2)), ', ') INTO options
        FROM unnest(string_to_array(trim(shards[i]), ' ')) AS o;
        EXECUTE format('CREATE SERVER %I FOREIGN DATA WRAPPER postgres_fdw OPTIONS (%s, fetch_size ''10000'', batch_size ''1000'', '
            'async_capable ''true'')', shard, options);
        EXECUTE format('CREATE USER MAPPING FOR CURRENT_USER SERVER %I', shard);
        EXECUTE format('CREATE USER MAPPING FOR fleet_reader SERVER %I '
            'OPTIONS (user ''fleet_reader'', password_required ''false'')', shard);
        EXECUTE format('CREATE SCHEMA %I', shard);
        EXECUTE format('IMPORT FOREIGN SCHEMA fleet FROM SERVER %I INTO %I', shard, shard);
        FOR view IN SELECT c.relname FROM pg_class c JOIN pg_attribute a ON a.attrelid = c.oid AND a.attname = 'machine'
            WHERE c.relnamespace = shard::regnamespace AND c.relkind = 'f' LOOP
            IF i = 1 THEN
                EXECUTE format('CREATE TABLE fleet.%I (LIKE %I.%I) PARTITION BY HASH (machine)', view, shard, view);
            END IF;
            EXECUTE format('ALTER TABLE fleet.%I ATTACH PARTITION %I.%I FOR VALUES WITH (MODULUS %s, REMAINDER %s)',
                view, shard, view, cardinality(shards), i - 1);
        END LOOP;
    END LOOP;
END $$;
-- Lines that name no machine are with the machine '', and so on one of the shards: its bad_lines has them.
DO $$
DECLARE
    parts text;
    loads text;
BEGIN
    SELECT string_agg(format('SELECT * FROM %I.bad_lines', nspname), ' UNION ALL ' ORDER BY nspname),
        string_agg(format('SELECT * FROM %I.loading', nspname), ' UNION ALL ' ORDER BY nspname)
    INTO parts, loads FROM pg_namespace WHERE nspname LIKE 'fleet\_shard\_%';
    EXECUTE 'CREATE VIEW fleet.bad_lines AS ' || parts;
    EXECUTE 'CREATE VIEW fleet.loading AS ' || loads;
END $$;

-- The machine of a line. What is no JSON has none; the shard says what is wrong with it.
CREATE FUNCTION fleet.machine_of(line text) RETURNS text LANGUAGE plpgsql STABLE AS $$
BEGIN
    RETURN coalesce(line::jsonb ->> 'machine', '');
EXCEPTION WHEN OTHERS THEN
    RETURN '';
END $$;

-- Sends the arrivals to their shards and has each load its own. A transaction that ends between the commits of two shards leaves
-- one of them ahead; the same file again makes them equal.
CREATE FUNCTION fleet.load(OUT lines bigint, OUT bad bigint, OUT documents bigint, OUT failures bigint, OUT changes bigint)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = fleet, pg_temp AS $$
BEGIN
    PERFORM pg_advisory_xact_lock(hashtext('fleet.load'));
    WITH taken AS (DELETE FROM arrivals RETURNING *)
    INSERT INTO routed SELECT machine_of(t.line), t.file, t.number, t.line, t.fault, t.arrived FROM taken t ORDER BY t.id;
    SELECT sum(l.lines), sum(l.bad), sum(l.documents), sum(l.failures), sum(l.changes) INTO lines, bad, documents, failures, changes
    FROM loading l;
END $$;

REVOKE EXECUTE ON ALL FUNCTIONS IN SCHEMA fleet FROM PUBLIC;
GRANT USAGE ON SCHEMA fleet TO fleet_loader, fleet_reader;
GRANT INSERT (file, number, line, fault, arrived) ON fleet.arrivals TO fleet_loader;
GRANT EXECUTE ON FUNCTION fleet.load() TO fleet_loader;
\ir ../postgresql/grants.sql
REVOKE ALL ON fleet.routed, fleet.loading FROM fleet_reader;
COMMIT;
