-- The two roles, once for all databases of a server: they may be there already.
DO $$
BEGIN
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'fleet_loader') THEN
        CREATE ROLE fleet_loader;
    END IF;
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'fleet_reader') THEN
        CREATE ROLE fleet_reader;
    END IF;
END $$;
