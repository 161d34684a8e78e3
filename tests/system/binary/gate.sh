#!/usr/bin/env bash
# Holds the built libraries against what a host may expect of the files: their exports and imports, the protections that the
# loader and the compiler give, a version, and no trace of the machine that built them.
#   gate.sh hw_inventory_interface.dll vm_detect.dll
set -euo pipefail

failed=0
fail() { echo "$*" >&2; failed=1; }
read_file() { llvm-readobj-16 "$@" | tr -d '\r'; }

# compare WHAT EXPECTED ACTUAL
compare() {
    [[ $2 == "$3" ]] || fail "$1 differs: < expected, > found"$'\n'"$(diff <(echo "$2") <(echo "$3") || true)"
}

exports() { read_file --coff-exports "$1" | sed -n 's/^  Name: //p' | sort; }
imports() { read_file --coff-imports "$1" | sed -n 's/^  Name: //p' | tr '[:upper:]' '[:lower:]' | sort; }

# has WHAT FILE TEXT READOBJ_ARGUMENT...
has() {
    local what=$1 file=$2 text=$3
    shift 3
    grep -q -- "$text" <<< "$(read_file "$@" "$file")" || fail "$(basename "$file") lacks $what"
}

# The calls of the function that ends the process when a stack frame was overwritten. There is no other use of its address.
guarded_functions() {
    local address base
    address=$(llvm-pdbutil-16 dump -publics "${1%.dll}.pdb" | grep -A1 '`__stack_chk_fail`' | sed -n 's/.*addr = 0001:0*\([0-9]\+\).*/\1/p')
    base=$(read_file --sections "$1" | sed -n '/Name: \.text/,/VirtualAddress/s/.*VirtualAddress: //p')
    address=$(printf '%x' $((0x180000000 + base + address)))
    llvm-objdump-16 -d --section=.text --no-show-raw-insn "$1" | grep -c "callq\s*0x$address" || true
}

check() {
    local file=$1 protection
    for protection in DYNAMIC_BASE HIGH_ENTROPY_VA NX_COMPAT; do
        has "$protection" "$file" "IMAGE_DLL_CHARACTERISTICS_$protection" --file-headers
    done
    has "CET compatibility" "$file" IMAGE_DLL_CHARACTERISTICS_EX_CET_COMPAT --coff-debug-directory
    has "the flags for the search of its imports" "$file" 'DependentLoadFlags: 0x1100' --coff-load-config
    has "a version" "$file" 'Type: VERSIONINFO' --coff-resources
    has "the plain name of its PDB" "$file" "PDBFileName: $(basename "${file%.dll}").pdb" --coff-debug-directory
    has "the neutral time stamp" "$file" 'TimeDateStamp: 1970-01-01' --file-headers
    local guarded
    guarded=$(guarded_functions "$file")
    [[ $guarded -ge $2 ]] || fail "$(basename "$file"): $guarded functions are guarded, expected $2 or more"
    ! grep -a -o -E '/(home|root|usr|work|tmp|builds?)/[[:print:]]*' "$file" | head -n 5 | grep . ||
        fail "$(basename "$file") names folders of the build machine"
}

check "$1" 200
check "$2" 10

compare "the exports" "$(sort << 'END'
hardware_inventory_exception_string
hardware_inventory_find_base_boards
hardware_inventory_find_cpus
hardware_inventory_find_disks
hardware_inventory_find_gpus
hardware_inventory_find_hotfixes
hardware_inventory_find_network_adapters
hardware_inventory_find_ram
hardware_inventory_find_system
hardware_inventory_get_exception
hardware_inventory_set_logger
release_buffer
END
)" "$(exports "$1")"
compare "the exports" $'VmProbe_GetHostVMType\nVmProbe_IsHostVirtual' "$(exports "$2")"

# Libraries that every Windows process has loaded or finds in the system folder, and our own.
allowed='advapi32|kernel32|msvcrt|ole32|oleaut32|setupapi'
! imports "$1" | grep -v -x -E "($allowed|vm_detect)\.dll" || fail "$(basename "$1") imports more than it may"
! imports "$2" | grep -v -x -E "($allowed)\.dll" || fail "$(basename "$2") imports more than it may"

exit $failed
