#!/usr/bin/env bash
# Loads fleets into PostgreSQL, in a folder of its own, and SQLite. Each line of the output is a case: ok, FAILED or skipped.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"
here="$root/tests/fleet" fleet="$root/fleet"
check() { python3 "$here/check.py" "$@"; }
ensure_packages python3 postgresql-15 sqlite3 libxml2-utils python3-yaml || exit 1
work=$(mktemp -d)
servers=()
finish() {
    local server
    for server in "${servers[@]}"; do "$fleet/postgresql/cluster.sh" stop "$server"; done
    rm -rf "$work"
}
trap finish EXIT
chmod 755 "$work" && cd "$work" || exit 1
for server in server one two three; do
    servers+=("$work/$server")
    "$fleet/postgresql/cluster.sh" start "$work/$server" -c fsync=off -c shared_buffers=64MB || exit 1
done
export PGHOST=$work/server PGUSER=postgres PGDATABASE=fleet
# fresh DATABASE: makes it the one that is used
fresh() { export PGDATABASE=$1; createdb "$1" && psql -X -q -f "$fleet/postgresql/schema.sql"; }
ask() { psql -X -q -A -t -c "$@"; }
load() { "$fleet/postgresql/load.sh" "$@"; }
load_sqlite() { python3 "$fleet/sqlite/load.py" "$@"; }
# All that a database holds, times of its own apart.
state() {
    local table
    for table in documents attempts changes identifiers; do
        echo "$table"
        if [[ $1 == postgresql ]]; then
            psql -X -q -A -t -c "SELECT * FROM fleet_store.$table"
        else
            sqlite3 "$1" "SELECT * FROM $table"
        fi | LC_ALL=C sort
    done
}
same() { diff <(echo "$1") <(echo "$2"); }
fails() { if "$@"; then return 1; fi; } # unlike "!", it ends a case
days=("$work"/days/day-{1,2,3}.ndjson)

fleet_of_2000() {
    "$fleet/simulate.sh" 2000 3 -o days
    "$fleet/simulate.sh" 50 2 -o days/again
    cmp <(head -c 9000 days/again/day-2.ndjson) <(head -c 9000 days/day-2.ndjson)
    fails cmp -s <("$fleet/simulate.sh" 5 --seed 2) <("$fleet/simulate.sh" 5)
    fresh fleet
    load "${days[@]}"
    load_sqlite desk.db "${days[@]}"
    check counts postgresql "${days[@]}"
    check counts desk.db "${days[@]}"
    state postgresql > state.postgresql
    state desk.db > state.sqlite
}

answers() {
    check answers - "${days[@]}"
    check answers desk.db "${days[@]}"
}

# Older documents and known ones change nothing; the schema is applied again over data.
twice() {
    load "${days[@]}" > counts
    load_sqlite desk.db "${days[@]}" >> counts
    same 6 "$(grep -c 'bad=0 documents=0 failures=[0-9]* changes=0$' counts)"
    psql -X -q -f "$fleet/postgresql/schema.sql"
    state postgresql | cmp - state.postgresql
    state desk.db | cmp - state.sqlite
}

newest_first() {
    fresh backwards
    load "${days[2]}" "${days[0]}" "${days[1]}"
    load_sqlite backwards.db "${days[2]}" "${days[0]}" "${days[1]}"
    local without_changes='/^changes$/,/^identifiers$/d'
    diff <(sed "$without_changes" state.postgresql) <(state postgresql | sed "$without_changes")
    diff <(sed "$without_changes" state.sqlite) <(state backwards.db | sed "$without_changes")
}

# interrupted COMMAND...: gives the command half of a file, and kills it with all that it has started.
interrupted() {
    rm -f pipe && mkfifo pipe
    setsid "$@" pipe > /dev/null 2>&1 &
    local loader=$!
    exec 9> pipe
    head -c 3000000 "${days[1]}" >&9
    kill -KILL -- "-$loader"
    exec 9>&-
    wait "$loader" 2> /dev/null || true
}
killed() {
    fresh killed
    load "${days[0]}"
    load_sqlite killed.db "${days[0]}"
    state postgresql > before.postgresql
    state killed.db > before.sqlite
    interrupted "$fleet/postgresql/load.sh"
    interrupted python3 "$fleet/sqlite/load.py" killed.db
    # One that is killed while it waits for another to end.
    psql -X -q -c "BEGIN; SELECT pg_advisory_xact_lock(hashtext('fleet.load')), pg_sleep(3); COMMIT" > /dev/null &
    setsid "$fleet/postgresql/load.sh" "${days[1]}" > /dev/null 2>&1 &
    local loader=$!
    sleep 2
    kill -KILL -- "-$loader"
    wait "$loader" 2> /dev/null || true
    wait
    state postgresql | cmp - before.postgresql
    state killed.db | cmp - before.sqlite
    load "${days[@]:1}"
    load_sqlite killed.db "${days[@]:1}"
    state postgresql | cmp - state.postgresql
    state killed.db | cmp - state.sqlite
}

two_at_once() {
    fresh both
    split -n l/2 "${days[2]}" half.
    for files in "${days[0]} ${days[0]}" "${days[1]} ${days[1]}" "half.aa half.ab"; do
        pids=()
        for file in $files; do
            load "$file" & pids+=($!)
            load_sqlite both.db "$file" & pids+=($!)
        done
        for pid in "${pids[@]}"; do wait "$pid"; done
    done
    state postgresql | cmp - state.postgresql
    state both.db | cmp - state.sqlite
}

history() {
    fresh history
    check write_history history.ndjson
    load history.ndjson
    load_sqlite history.db history.ndjson
    check history postgresql history.db
}

lines() {
    fresh lines
    check write_lines lines.ndjson
    for round in 1 2; do
        load lines.ndjson
        load_sqlite lines.db lines.ndjson
    done
    check lines postgresql lines.db
    fails load nowhere.ndjson
    fails load_sqlite lines.db nowhere.ndjson
}

roles() {
    fresh roles
    check roles
}

retention() {
    fresh retention
    load "${days[@]}"
    local query="SELECT count(*), count(*) FILTER (WHERE collected >= '2026-11-03') FROM fleet.changes"
    IFS='|' read -r all newer <<< "$(ask "$query")"
    same "$((all - newer))|0|0" "$(ask "SELECT * FROM fleet.forget('2026-11-03')")"
    same "$newer|$newer" "$(ask "$query")"
    local unseen
    unseen=$(ask "SELECT count(*) FROM fleet.machines WHERE last_seen < '2026-11-02'")
    same "$unseen" "$(ask "SELECT machines FROM fleet.forget('-infinity', '2026-11-02')")"
    same 0 "$(ask 'SELECT count(*) FROM fleet.disks d WHERE d.machine NOT IN (SELECT m.machine FROM fleet.machines m)')"
    cp desk.db retention.db
    same "forgotten: changes=$((all - newer))" "$(load_sqlite retention.db --forget-before 2026-11-03)"
}

# The fleet on three servers: the same load, the same answers. Their machines are shared out, and a bad line is on one of them.
three_servers() {
    local shards=() shard machines
    for shard in one two three; do
        PGHOST=$work/$shard fresh fleet
        PGHOST=$work/$shard psql -X -q -f "$fleet/distributed/shard.sql" -c "ALTER ROLE fleet_reader LOGIN"
        shards+=("host=$work/$shard dbname=fleet")
    done
    export PGDATABASE=asked
    createdb asked
    psql -X -q -v shards="$(IFS=';' && echo "${shards[*]}")" -f "$fleet/distributed/coordinator.sql"
    load "${days[@]}"
    check answers - "${days[@]}"
    load "${days[@]}" | grep -c ' documents=0 .* changes=0$' | grep -x 3
    for shard in one two three; do
        machines=$(PGHOST=$work/$shard PGDATABASE=fleet ask 'SELECT count(*) FROM fleet.machines')
        [[ $machines -gt 500 ]]
    done
    echo '{"machine": "x"}' > bad.ndjson
    load bad.ndjson | grep -F 'lines=1 bad=1'
    same 'no kind of document' "$(ask 'SET ROLE fleet_reader' -c 'SELECT reason FROM fleet.bad_lines')"
}

shippers() {
    local spool=$work/spool file
    xmllint --noout "$fleet/shippers/task.xml"
    for file in "$fleet"/shippers/*.yaml; do /usr/bin/python3 -c 'import sys, yaml; yaml.safe_load(open(sys.argv[1]))' "$file"; done
    python3 -c 'import sys, tomllib; tomllib.load(open(sys.argv[1], "rb"))' "$fleet/shippers/telegraf.conf"
    fresh shipped
    mkdir "$spool"
    head -4 "${days[0]}" > "$spool/old name.ndjson"
    head -2 "${days[1]}" > "$spool/growing.ndjson"
    touch -d '5 minutes ago' "$spool/old name.ndjson"
    PGDATABASE=nowhere fails "$fleet/shippers/take.sh" "$spool"
    "$fleet/shippers/take.sh" "$spool"
    same 4 "$(ask 'SELECT count(*) FROM fleet.collections')"
    same "growing.ndjson loaded" "$(ls "$spool" | xargs)"
}

rules() { check rules "$root/build/native/bin/hw-inventory"; }

# Those of docs/fleet.md, in folders of ours.
samples() {
    sample() { sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/{/^\`\`\`/!p}" "$root/docs/fleet.md"; }
    local text
    text=$(sample sh | sed "s,/tmp/,$work/sample-,g")
    servers+=("$work/sample-try")
    (cd "$root" && bash -euo pipefail -c "$text") > printed
    [[ $(wc -l < printed) -gt 20 ]]
    fresh samples
    sample sql | psql -X -q -v ON_ERROR_STOP=1
}

# The program's own output: that of this machine under Wine, or what HW_INVENTORY_NDJSON names.
program() {
    fresh program
    local file=${HW_INVENTORY_NDJSON:-program.ndjson} product=$root/build/mingw
    [[ -f $file ]] || "$root/toolchain/wine.sh" "$product/wine" "$product/bin/hw-inventory.exe" --format ndjson > "$file" || true
    grep -q '^{"collected":' "$file" || return 77
    load "$file" | grep -E ' lines=8 bad=0 '
    load_sqlite program.db "$file" | grep -E ' lines=8 bad=0 '
    same 8 "$(ask 'SELECT count(*) FROM fleet.collections')"
}

# A case fails with the first command that fails, and is skipped with 77.
declare -A outcome=([0]=ok [77]=skipped)
for case in fleet_of_2000 answers twice newest_first killed two_at_once history lines roles retention three_servers shippers \
    rules samples program; do
    (set -e; "$case") > log 2>&1
    result=${outcome[$?]:-FAILED}
    [[ $result != FAILED ]] || cat log >&2
    echo "fleet, ${case//_/ }: $result"
done
