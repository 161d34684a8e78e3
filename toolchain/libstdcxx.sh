#!/usr/bin/env bash
# Makes a copy of Debian's static libstdc++ for mingw-w64 that lld links with its unwind tables (restore_unwind_symbols.cpp tells
# why), once, in the cache folder, and prints the folder that holds it:
#   libstdcxx.sh FOLDER OF THE COMPILER'S LIBRARIES
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"

original=$1/libstdc++.a
folder="$cache/libstdcxx-mingw"
if [[ ! -f $folder/libstdc++.a || $original -nt $folder/libstdc++.a ]]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    {
        clang++-16 -std=c++20 -O1 -o "$work/restore" "$root/toolchain/restore_unwind_symbols.cpp"
        mkdir -p "$work/objects" "$folder"
        (cd "$work/objects" && llvm-ar-16 x "$original" && "$work/restore" *.o && llvm-ar-16 rcs ../libstdc++.a *.o)
        mv "$work/libstdc++.a" "$folder/libstdc++.a"
    } >&2
fi
echo "$folder"
