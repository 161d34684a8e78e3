#!/usr/bin/env bash
# Measures the fleet's figures against their bars, on a PostgreSQL server in a temporary folder, with its settings for durability as
# they are delivered.
#   fleet.sh [MACHINES]     100,000 without; a tenth of them is loaded as well, for the cost of a document in a small fleet
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
machines=${1:-100000} fleet="$root/fleet"
ensure_packages python3 postgresql-15
work=$(mktemp -d)
trap '"$fleet/postgresql/cluster.sh" stop "$work/server" || true; rm -rf "$work"' EXIT
chmod 755 "$work"
"$fleet/postgresql/cluster.sh" start "$work/server"
export PGHOST=$work/server PGUSER=postgres

short=0
# figure NAME VALUE BAR ["at least"]
figure() {
    local verdict=ok less
    [[ ${4:-at most} == "at most" ]] && less="$2 <= $3" || less="$2 >= $3"
    awk "BEGIN { exit !($less) }" || { verdict=short; short=1; }
    echo "$1: $2 (bar: ${4:-at most} $3) $verdict"
}
# load FILE: sets counts, and seconds
load() {
    local start=${EPOCHREALTIME/[.,]/}
    counts=$("$fleet/postgresql/load.sh" "$1")
    seconds=$(awk "BEGIN { print (${EPOCHREALTIME/[.,]/} - $start) / 1e6 }")
    say "$(basename "$(dirname "$1")"): ${counts#*: } in $seconds s"
    lines=$(sed 's/.*lines=\([0-9]*\).*/\1/' <<< "$counts")
}
database() { export PGDATABASE=$1; createdb "$1"; psql -X -q -f "$fleet/postgresql/schema.sql"; }

say "simulating $machines machines"
start=${EPOCHREALTIME/[.,]/}
"$fleet/simulate.sh" "$machines" 2 --changes 0 -o "$work/all"
elapsed=$(awk "BEGIN { print (${EPOCHREALTIME/[.,]/} - $start) / 1e6 }")
say "$elapsed s for two days of $(stat -c %s "$work/all/day-1.ndjson") bytes"
"$fleet/simulate.sh" $((machines / 10)) 1 -o "$work/tenth"

database tenth
load "$work/tenth/day-1.ndjson"
small=$(awk "BEGIN { print $seconds / $lines }")
database all
load "$work/all/day-1.ndjson"
rate=$(awk "BEGIN { printf \"%d\", $lines / $seconds }")
cost=$(awk "BEGIN { printf \"%.2f\", $seconds / $lines / $small }")
load "$work/all/day-2.ndjson"
unchanged=${counts##*changes=}
psql -X -q -c VACUUM -c ANALYZE
say "$(psql -X -q -A -t -c "SELECT pg_size_pretty(pg_database_size('all'))") with two days of them"
figure "documents loaded in a second" "$rate" 30000 "at least"
figure "cost of a document against a fleet of a tenth" "$cost" 1.3
figure "changes of an unchanged day" "$unchanged" 0
for question in $("$fleet/ask.py" | sed -n 's/^\(\w*\):.*/\1/p'); do
    # The median of five, as the server's client sees it.
    milliseconds=$(for round in 1 2 3 4 5; do
        "$fleet/ask.py" --time "$question" | sed -n 's/^Time: \([0-9.]*\) ms.*/\1/p'
    done | sort -n | sed -n 3p)
    [[ $question == who_has ]] && bar=10 || bar=1000
    figure "$question, ms" "$milliseconds" "$bar"
done
exit $short
