#!/usr/bin/env bash
# Checks the reading of Nvidia devices against nvidia-smi on this machine's real driver. Needs a C++20 compiler and an Nvidia
# driver; nothing else of the project is built. Ends with 77 when there is no driver.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)"
program=$(mktemp)
trap 'rm -f "$program"' EXIT

compiler=${CXX:-$(command -v clang++-16 || command -v clang++ || command -v g++)}
gpu="$root/hw-inventory-impl/lib/GPU"
"$compiler" -std=c++20 -O1 -Wall -Wextra -I "$root" -o "$program" \
    "$root/tests/system/gpu/nvml_check.cpp" "$gpu/NvidiaGroup.cpp" "$gpu/VendorModule.cpp" -ldl
"$program"
