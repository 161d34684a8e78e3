#!/usr/bin/env bash
# Measures the library's figures against their bars, natively and under Wine, both sides of a ratio in the same run.
#   ./bench.sh [ARGUMENT OF GOOGLE BENCHMARK...]
# Ends with a table, one figure a line; fails when one falls short. Figures that need data of real machines are skipped where
# HW_INVENTORY_CORPUS (else the folder that the tests use) is not there. Debian 12, as root or with sudo.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

ensure_packages "${build_packages[@]}" googletest libbenchmark-dev libpci-dev
folder="$root/build/bench"
say "building the benchmarks"
quietly cmake -S "$root" --preset native -B "$folder" -DHW_INVENTORY_BENCH=ON \
    ${HW_INVENTORY_PCI_IDS:+"-DHW_INVENTORY_PCI_IDS=$HW_INVENTORY_PCI_IDS"}
quietly cmake --build "$folder" --target benchmarks
HW_INVENTORY_CORPUS=${HW_INVENTORY_CORPUS:-$(sed -n 's/^HW_INVENTORY_CORPUS:PATH=//p' "$folder/CMakeCache.txt")}
export HW_INVENTORY_CORPUS

report=$(mktemp)
trap 'rm -f "$report"' EXIT
short=0
for program in "$folder"/benchmarks/*; do
    say "running $(basename "$program")"
    "$program" --benchmark_repetitions=9 --benchmark_min_time=0.1 --benchmark_enable_random_interleaving=true "$@" |
        tee -a "$report" | { grep -v '^figure ' >&2 || true; } || short=1
done

# The built library under Wine: its collections against a bare client of the same management service.
ensure_packages "${windows_packages[@]}"
wine_folder="$root/build/bench-wine"
say "building the benchmarks of the built library"
quietly cmake -S "$root" --preset mingw -B "$wine_folder" -DHW_INVENTORY_BENCH=ON \
    ${HW_INVENTORY_PCI_IDS:+"-DHW_INVENTORY_PCI_IDS=$HW_INVENTORY_PCI_IDS"}
quietly cmake --build "$wine_folder" --target benchmarks
# On one core, with the server that answers it: how the system spreads the two over cores can double either side's time.
core=$(taskset -cp $$ | sed 's/.*: //; s/[,-].*//')
on_wine=(taskset -c "$core" "$root/scripts/wine.sh" "$wine_folder/wine")
quietly "${on_wine[@]}" cmd /c exit
for program in collections traced-failure; do
    say "running $program under Wine"
    # Without the standard error, where Wine complains of its drives at every query of the disks.
    "${on_wine[@]}" "$wine_folder/bin/$program.exe" 2> /dev/null |
        tr -d '\r' | tee -a "$report" | { grep -v '^figure ' >&2 || true; } || short=1
done

sed -n 's/^figure //p' "$report"
exit $short
