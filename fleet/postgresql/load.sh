#!/usr/bin/env bash
# Loads files of NDJSON envelopes into a database that has schema.sql.
#   load.sh FILE...     "-" is standard input. The database is psql's: PGHOST, PGDATABASE, PGUSER, a service or a URI in PGDATABASE.
# Each file is one transaction: it is in as a whole or not at all, and loading it again changes nothing. Lines that are no envelopes
# are kept in the view bad_lines with their file, number and reason. Prints the counts of each file as key=value; the exit status is
# 1 if one could not be loaded.
set -uo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
[[ $# -gt 0 ]] || { sed -n '2,6s/^# *//p' "${BASH_SOURCE[0]}" >&2; exit 64; }

# The rows end with a line "\.", without which an interrupted reading would look like the end of a file and be committed.
stream() {
    cat <<- 'SQL'
		BEGIN;
		COPY fleet.arrivals (file, number, line, fault) FROM STDIN;
	SQL
    python3 "$here/lines.py" "$1" && cat <<- 'SQL'
		\.
		SELECT 'lines=' || lines || ' bad=' || bad || ' documents=' || documents || ' failures=' || failures || ' changes=' || changes
		FROM fleet.load();
		COMMIT;
	SQL
}

status=0
for file in "$@"; do
    if counts=$(stream "$file" | psql -X -q -A -t -v ON_ERROR_STOP=1 -f -) && [[ -n $counts ]]; then
        echo "$file: $counts"
    else
        echo "load: $file is not loaded" >&2
        status=1
    fi
done
exit $status
