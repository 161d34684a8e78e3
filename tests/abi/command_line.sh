#!/usr/bin/env bash
# The command-line program's arguments, output and exit status, on replayed machines.
#   command_line.sh PROGRAM
set -uo pipefail
program=$1 failed=0
output=$(mktemp) errors=$(mktemp)
trap 'rm -f "$output" "$errors"' EXIT

# run STATUS ARGUMENT...
run() {
    local expected=$1 status=0
    shift
    "$program" "$@" > "$output" 2> "$errors" || status=$?
    [[ $status -eq $expected ]] || fail "$* ended with $status, expected $expected"
}
fail() { echo "$CASE: $*"; failed=1; }
printed() { [[ $(cat "$output") == "$1" ]] || fail "printed $(cat "$output"), expected $1"; }
complained() { grep -q -e "$1" "$errors" || fail "nothing of '$1' on standard error"; }

export CASE="whole/text that JSON escapes"
run 0 base-boards
printed $'{"motherBoards":[{"name":"\u00fc\\"{,"}]}'
run 0 --pretty base-boards
printed $'{\n    "motherBoards": [\n        {\n            "name": "\u00fc\\"{,"\n        }\n    ]\n}'
run 0
[[ $(wc -l < "$output") -eq 8 ]] || fail "not the eight documents"
run 0 hotfixes gpus --log
[[ $(cut -c1-6 "$output" | tr '\n' ' ') == '{"hotf {"gpus ' ]] || fail "the kinds are not in the order asked for"
complained '<warning> '

export CASE="whole/no query can be run"
run 2 cpus ram
complained 'cpus: status 2: .*failed to execute WMI query'
printed '{"rams":[{"capacity":8589934592,"deviceLocator":"DIMM A","manufacturer":"ACME Memory","name":"Physical Memory Slot 1","serialNumber":"RAM-1"}],"usableMemory":8589934592}'

for wrong in cpu --verbose ''; do
    run 64 cpus "$wrong" --help
    printed ''
    complained usage:
done
run 0 --help
grep -q usage: "$output" || fail "no help"
exit $failed
