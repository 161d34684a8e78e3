-- On each server that holds a part of the machines, after schema.sql: what the coordinator reaches through postgres_fdw. It comes
-- as the owner of the database to load, and as fleet_reader to read, who must be able to log in here.
\set ON_ERROR_STOP on
SET client_min_messages = warning;
-- A query is the only call that passes through postgres_fdw. Reading this view loads what has arrived.
CREATE OR REPLACE VIEW fleet.loading AS SELECT * FROM fleet.load();
-- The coordinator sends each line with its machine.
CREATE OR REPLACE VIEW fleet.routed AS SELECT NULL::text AS machine, file, number, line, fault, arrived FROM fleet.arrivals;
CREATE OR REPLACE FUNCTION fleet_store.arrive() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
    INSERT INTO fleet.arrivals (file, number, line, fault, arrived) VALUES (new.file, new.number, new.line, new.fault, new.arrived);
    RETURN new;
END $$;
CREATE OR REPLACE TRIGGER arrive INSTEAD OF INSERT ON fleet.routed FOR EACH ROW EXECUTE FUNCTION fleet_store.arrive();
REVOKE ALL ON fleet.routed, fleet.loading FROM PUBLIC, fleet_reader;
