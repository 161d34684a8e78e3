#!/usr/bin/env bash
# Builds the libraries once more from a copy of the sources in another folder, and expects the same bytes.
#   same_bytes.sh SOURCE_FOLDER FOLDER_OF_BUILT_FILES PCI_ID_LIST
set -euo pipefail
source=$1 built=$2 list=$3

copy=$(mktemp -d)/somewhere/else
trap 'rm -rf "${copy%/somewhere/else}"' EXIT
mkdir -p "$copy"
cp -r "$source"/{CMakeLists.txt,CMakePresets.json,cmake,toolchain,scripts,st-core,vm-detect,hw-inventory-impl,hw-inventory-interface,cli,machine} "$copy"
cmake -S "$copy" --preset mingw -B "$copy/out" -DHW_INVENTORY_TESTS=OFF "-DHW_INVENTORY_PCI_IDS=$list" > "$copy/log"
cmake --build "$copy/out" --target hw_inventory_interface vm_detect >> "$copy/log" || { tail -n 30 "$copy/log" >&2; exit 1; }

status=0
for file in hw_inventory_interface.dll hw_inventory_interface.pdb vm_detect.dll vm_detect.pdb; do
    cmp "$built/$file" "$copy/out/bin/$file" || status=1
done
exit $status
