#!/usr/bin/env bash
# Captures this machine under Wine, and replays it there and natively: documents and log are those of the built library.
#   capture_and_replay.sh NATIVE_HW_MACHINE HW_MACHINE HW_INVENTORY [EMULATOR...]
# Skipped (77) where there is no native build.
set -euo pipefail
native=$1 machine=("${@:4}" "$2") inventory=("${@:4}" "$3" --log=trace)
[[ -x $native ]] || { echo "no native hw-machine: build the preset native"; exit 77; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
export TZ=UTC WINEDEBUG=-all

# Addresses of objects differ.
masked() { tr -d '\r' < "$1" | sed -E 's/0x[0-9a-f]{6,}|\b[0-9A-F]{16}\b/@/g'; }
# run NAME COMMAND...: its documents and its log
run() { "${@:2}" > "$1.documents" 2> "$1.log"; }

# The space on the disks may change meanwhile: twice the same of the library is what can be compared.
for attempt in 1 2 3 4 5; do
    run before "${inventory[@]}"
    "${machine[@]}" capture recording.json --raw
    run after "${inventory[@]}"
    ! cmp -s before.documents after.documents || break
    [[ $attempt -lt 5 ]] || { echo "this machine does not hold still"; exit 1; }
done
run native "$native" replay recording.json --log
run wine "${machine[@]}" replay recording.json --log
for where in native wine; do
    cmp before.documents $where.documents
    diff <(masked before.log) <(masked $where.log)
done
[[ $(wc -l < native.documents) -eq 8 && $(wc -l < native.log) -gt 20 ]]
/usr/bin/python3 "${BASH_SOURCE[0]%/*}/../schemas/documents.py" < native.documents
"${machine[@]}" capture anonymised.json
"$native" replay anonymised.json > /dev/null 2>&1
