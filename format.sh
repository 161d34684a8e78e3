#!/usr/bin/env bash
# Lays out every C and C++ file as .clang-format has it, or checks layout and lint without a change:
#   ./format.sh [--check]
# The check fails where a file is laid out otherwise or clang-tidy has a finding (.clang-tidy). Linted are the product's portable
# sources, through the native build; not the tests, and not the files for Windows. Debian 12, as root or with sudo.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

cd "$root"
mapfile -t files < <(git ls-files '*.c' '*.cpp' '*.h' '*.hpp')
ensure_packages clang-format-16
if [[ ${1:-} != --check ]]; then
    exec clang-format-16 -i "${files[@]}"
fi

failed=0
say "checking the layout of ${#files[@]} files"
clang-format-16 --dry-run -Werror "${files[@]}" || { say "./format.sh lays them out"; failed=1; }

ensure_packages "${build_packages[@]}" "${test_packages[@]}" clang-tidy-16
quietly cmake --preset native ${HW_INVENTORY_PCI_IDS:+"-DHW_INVENTORY_PCI_IDS=$HW_INVENTORY_PCI_IDS"}
product="$root/(cli|machine|hw-inventory-impl|hw-inventory-interface|st-core|vm-detect)"
mapfile -t sources < <(sed -n -E "s,^ *\"file\": \"($product/.*\.cpp)\".*,\1,p" build/native/compile_commands.json | sort -u)
say "linting ${#sources[@]} sources"
# Its progress, on standard error, is the number of warnings in other people's headers.
printf '%s\0' "${sources[@]}" | xargs -0 -P "$(nproc)" -n 1 clang-tidy-16 -p build/native --quiet \
    2> >(grep -v 'warnings\? generated\.$' >&2) || failed=1
exit $failed
