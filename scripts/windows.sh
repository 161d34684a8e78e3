#!/usr/bin/env bash
# The steps of continuous integration on Windows, in Git Bash; the last two also run on Debian, under Wine and with mingw.
#   scripts/windows.sh build                        the preset msvc; VCPKG_ROOT and HW_INVENTORY_PCI_IDS are set
#   scripts/windows.sh test                         its tests
#   scripts/windows.sh machine PROGRAMS FOLDER      this machine's documents, log and recording, made by the programs of a folder
#   scripts/windows.sh consumers RELEASE FOLDER     a host's program, built in a folder from the zip of a release, prints the processors
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

usage() { sed -n '2,6s/^# //p' "${BASH_SOURCE[0]}" >&2; exit 64; }
on_windows() { [[ ${OSTYPE:-} == msys* || ${OSTYPE:-} == cygwin* ]]; }
# A Windows program, under Wine elsewhere.
run() { if on_windows; then "$@"; else "$root/toolchain/wine.sh" "$root/build/mingw/wine" "$@"; fi; }

build() {
    : "${VCPKG_ROOT:?is not set: the folder of vcpkg}" "${HW_INVENTORY_PCI_IDS:?is not set: a PCI ID list}"
    cmake -S "$root" --preset msvc -DHW_INVENTORY_PCI_IDS="$HW_INVENTORY_PCI_IDS"
    cmake --build --preset msvc --parallel
}

# Eight documents of the library, and eight of the replayed recording.
machine() {
    local programs=$1 folder=$2
    mkdir -p "$folder"
    run "$programs/hw-inventory.exe" --log=trace > "$folder/documents.json" 2> "$folder/log.txt"
    run "$programs/hw-machine.exe" capture "$folder/machine.json"
    run "$programs/hw-machine.exe" replay "$folder/machine.json" > "$folder/replayed.json"
    [[ $(wc -l < "$folder/documents.json") -eq 8 && $(wc -l < "$folder/replayed.json") -eq 8 ]] ||
        { echo "not the eight documents in $folder" >&2; return 1; }
}

consumers() {
    local release=$1 folder=$2 toolchain=()
    on_windows || toolchain=(-G Ninja "-DCMAKE_TOOLCHAIN_FILE=$root/toolchain/mingw-clang.cmake")
    rm -rf "$folder"
    cmake -E make_directory "$folder/release"
    (cd "$folder/release" && cmake -E tar xf "$(cd "$OLDPWD" && realpath "$release"/hw_inventory_interface-*-win64.zip)")
    cmake -S "$root/tests/release/consumers" -B "$folder/build" "${toolchain[@]}" \
        -DCMAKE_PREFIX_PATH="$(realpath "$folder/release")" -DCMAKE_BUILD_TYPE=Release
    cmake --build "$folder/build" --config Release
    local program
    for program in "$folder"/build/bin/{,Release/}{c,cpp}.exe; do
        [[ ! -f $program ]] || run "$program" | grep '"cpus"'
    done
}

case "${1:-} $#" in
    "build 1") build ;;
    "test 1") ctest --test-dir "$root/build/msvc" -C RelWithDebInfo --output-on-failure ;;
    "machine 3") machine "$2" "$3" ;;
    "consumers 3") consumers "$2" "$3" ;;
    *) usage ;;
esac
