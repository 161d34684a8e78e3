#!/usr/bin/env bash
# Expects every file of the libraries that includes a Windows header to say so in its name, and words that only GCC and clang
# understand (beyond what -Wpedantic finds) in the files for mingw and in one header.
#   portability.sh SOURCE_FOLDER
set -uo pipefail
cd "$1" || exit
headers='windows|comdef|dbghelp|intrin|lmcons|objbase|psapi|setupapi|tlhelp32|wbemcli|winioctl'
! grep -rlE "^ *# *include <($headers)\.h>" st-core vm-detect hw-inventory-impl hw-inventory-interface |
    grep -vE '(Win|/WMIProvider|/WinTracer)\.(cpp|h)$' || exit
! grep -rnE '__attribute__|__builtin_|__extension__|__typeof|__int128|\[\[(gnu|clang)::|\basm\b' --include='*.cpp' --include='*.h' \
    st-core vm-detect hw-inventory-impl hw-inventory-interface machine cli | grep -vE '^st-core/lib/(Mingw[A-Za-z]*\.cpp|StackTrace\.h):'
