#!/usr/bin/env bash
# A PostgreSQL server of one's own in a folder, to try things: it listens on a socket in that folder alone, and trusts whoever gets
# there.
#   cluster.sh start FOLDER [ARGUMENT OF postgres...]     cluster.sh stop FOLDER     then: export PGHOST=FOLDER PGUSER=postgres
# Root cannot run a server: as root it is run by the user postgres of Debian's package.
set -euo pipefail
[[ $# -ge 2 && $1 =~ ^(start|stop)$ ]] || { sed -n '2,4s/^# *//p' "${BASH_SOURCE[0]}" >&2; exit 64; }
action=$1 folder=$2
shift 2
programs=$(ls -d /usr/lib/postgresql/*/bin 2> /dev/null | sort -V | tail -1)
as_server() {
    if [[ $EUID -eq 0 ]]; then
        (cd / && setpriv --reuid=postgres --regid=postgres --clear-groups env HOME=/nonexistent "$@")
    else
        "$@"
    fi
}

if [[ $action == stop ]]; then
    as_server "$programs/pg_ctl" -D "$folder/data" -m fast -s stop
    exit
fi
mkdir -p "$folder"
folder=$(cd "$folder" && pwd)
[[ $EUID -ne 0 ]] || chown postgres: "$folder"
chmod 700 "$folder"
if [[ ! -d $folder/data ]]; then
    as_server "$programs/initdb" -D "$folder/data" -U postgres -A trust -E UTF8 --locale=C.UTF-8 --no-sync > /dev/null
fi
arguments=""
[[ $# -eq 0 ]] || printf -v arguments ' %q' "$@"
as_server "$programs/pg_ctl" -D "$folder/data" -l "$folder/log" -w -s \
    -o "-c listen_addresses= -k $folder -c shared_buffers=256MB -c max_wal_size=4GB -c min_wal_size=1GB $arguments" start
