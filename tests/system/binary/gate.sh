#!/usr/bin/env bash
# Holds the built libraries against what a host may expect of the files: their exports and imports, the protections that the
# loader and the compiler give, a version, and no trace of the machine that built them.
#   gate.sh hw_inventory_interface.dll vm_detect.dll hw-machine.exe
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

# has FILE READOBJ_ARGUMENT TEXT
has() { grep -q -- "$3" <<< "$(read_file "$2" "$1")" || fail "$(basename "$1") lacks $3"; }

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
        has "$file" --file-headers "IMAGE_DLL_CHARACTERISTICS_$protection"
    done
    has "$file" --coff-debug-directory IMAGE_DLL_CHARACTERISTICS_EX_CET_COMPAT
    has "$file" --coff-load-config 'DependentLoadFlags: 0x1100' # the search of its imports
    has "$file" --coff-resources 'Type: VERSIONINFO'
    has "$file" --coff-debug-directory "PDBFileName: $(basename "${file%.dll}").pdb"
    has "$file" --file-headers 'TimeDateStamp: 1970-01-01'
    local guarded
    guarded=$(guarded_functions "$file")
    [[ $guarded -ge $2 ]] || fail "$(basename "$file"): $guarded functions are guarded, expected $2 or more"
    ! grep -a -o -E '/(home|root|usr|work|tmp|builds?)/[[:print:]]*' "$file" | head -n 5 | grep . ||
        fail "$(basename "$file") names folders of the build machine"
}

check "$1" 200
check "$2" 10

compare "the exports" "$(printf '%s\n' hardware_inventory_{exception_string,get_exception,set_logger} release_buffer \
    hardware_inventory_find_{base_boards,cpus,disks,gpus,hotfixes,network_adapters,ram,system} | sort)" "$(exports "$1")"
compare "the exports" $'VmProbe_GetHostVMType\nVmProbe_IsHostVirtual' "$(exports "$2")"

# Libraries that every Windows process has loaded or finds in the system folder, and our own.
allowed='advapi32|kernel32|msvcrt|ole32|oleaut32|setupapi'
! imports "$1" | grep -v -x -E "($allowed|vm_detect)\.dll" || fail "$(basename "$1") imports more than it may"
! imports "$2" | grep -v -x -E "($allowed)\.dll" || fail "$(basename "$2") imports more than it may"

# Recorded machines are for the program hw-machine alone, where the search must find them.
for text in 'hw-machine recording' RecordedMachine RecordingMachine; do
    ! grep -a -q "$text" "$1" || fail "$(basename "$1") contains $text"
    grep -a -q "$text" "$3" || fail "$(basename "$3") lacks $text"
done

exit $failed
