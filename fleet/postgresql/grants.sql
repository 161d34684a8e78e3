-- A reader reads the views, all of them and nothing else.
DO $$
DECLARE
    each regclass;
BEGIN
    FOR each IN
        SELECT c.oid FROM pg_class c
        WHERE c.relnamespace = 'fleet'::regnamespace AND c.relname <> 'arrivals' AND c.relkind IN ('v', 'p')
    LOOP
        EXECUTE format('GRANT SELECT ON %s TO fleet_reader', each);
    END LOOP;
END $$;
