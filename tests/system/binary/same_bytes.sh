#!/usr/bin/env bash
# Builds what is installed once more from a copy of the sources in another folder, and expects the same bytes of every file.
#   same_bytes.sh SOURCE_FOLDER BUILD_FOLDER PCI_ID_LIST
set -euo pipefail
source=$1 build=$2 list=$3 number=0

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
copy="$work/somewhere/else"
mkdir -p "$copy"
tar -C "$source" --exclude=./.git --exclude=./build --exclude=./dist -c . | tar -C "$copy" -x
cmake -S "$copy" --preset mingw -B "$copy/out" -DHW_INVENTORY_TESTS=OFF "-DHW_INVENTORY_PCI_IDS=$list" > "$work/log"
cmake --build "$copy/out" --target hw_inventory_interface vm_detect hw-inventory hw-machine >> "$work/log" || { tail -n 30 "$work/log" >&2; exit 1; }

for folder in "$build" "$copy/out"; do
    cmake --install "$folder" --prefix "$work/installed$((++number))" > "$work/log"
done
diff -r "$work"/installed{1,2}
