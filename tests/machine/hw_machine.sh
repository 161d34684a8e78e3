#!/usr/bin/env bash
# The program's commands, messages and exit status, on this Linux machine.
#   hw_machine.sh HW_MACHINE
set -uo pipefail
program=$1 failed=0
cd "$(mktemp -d)" || exit
trap 'rm -rf "$PWD"' EXIT
: > empty

# run STATUS TEXT ARGUMENT...: what is printed, on either output, is the text or has it among its lines.
run() {
    local printed status=0
    printed=$("$program" "${@:3}" 2>&1) || status=$?
    [[ $status -eq $1 && $printed == *"$2"* ]] || { echo "${*:3}: status $status, $printed; expected $1, $2"; failed=1; }
}
run 0 '' capture raw.json --raw
run 0 "\"usableMemory\":$(($(sed -n 's/MemTotal: *\([0-9]*\).*/\1/p' /proc/meminfo) * 1024))}" replay raw.json ram
[[ $("$program" replay raw.json ram | wc -l) -eq 1 && $("$program" replay raw.json | wc -l) -eq 8 ]] || { echo "not the kinds asked for"; failed=1; }
echo '{"format": "hw-machine recording", "version": 1, "answers": {}}' > nothing.json
run 1 'the connection was not recorded' replay nothing.json cpus
run 0 'ADL Library not found!' replay raw.json gpus --log
run 0 '' anonymise raw.json -o other.json --key "$program"
run 0 '' anonymise raw.json --key "$program"
cmp raw.json other.json && grep -q '"anonymised": true' raw.json || failed=1
run 1 'the key file is empty' anonymise raw.json --key empty
run 1 'cannot read none.json' replay none.json
run 1 'not a recording' replay empty
run 1 'cannot write none/other.json' capture none/other.json
run 64 'cpu not in' replay raw.json cpu
run 64 'FILE is required' capture
run 0 'anonymise' --help
exit $failed
