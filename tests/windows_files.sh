#!/usr/bin/env bash
# Expects every file of the libraries that includes a Windows header to say so in its name.
#   windows_files.sh SOURCE_FOLDER
set -uo pipefail
cd "$1" || exit
headers='windows|comdef|dbghelp|intrin|lmcons|objbase|psapi|setupapi|tlhelp32|wbemcli|winioctl'
! grep -rlE "^ *# *include <($headers)\.h>" st-core vm-detect hw-inventory-impl hw-inventory-interface |
    grep -vE '(Win|/WMIProvider|/WinTracer)\.(cpp|h)$'
