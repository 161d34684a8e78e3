#!/usr/bin/env bash
# Measures the library's figures against their bars, natively and under Wine, both sides of a ratio in the same run.
#   ./bench.sh [ARGUMENT OF GOOGLE BENCHMARK...]
#   ./bench.sh fleet [MACHINES]     the databases of a fleet instead, with 100,000 machines
# Ends with a table, one figure a line; fails when one falls short. Figures that need data of real machines are skipped where
# HW_INVENTORY_CORPUS (else the folder that the tests use) is not there. Debian 12, as root or with sudo.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"
[[ ${1:-} != fleet ]] || exec "$root/bench/fleet.sh" "${@:2}"

ensure_packages "${build_packages[@]}" googletest libbenchmark-dev libpci-dev dmidecode time
folder="$root/build/bench"
say "building the benchmarks"
configure native "$folder" -DHW_INVENTORY_BENCH=ON
quietly cmake --build "$folder" --target benchmarks
HW_INVENTORY_CORPUS=${HW_INVENTORY_CORPUS:-$(sed -n 's/^HW_INVENTORY_CORPUS:PATH=//p' "$folder/CMakeCache.txt")}
export HW_INVENTORY_CORPUS

PATH=$PATH:/usr/sbin # where dmidecode lies
report=$(mktemp)
samples=$(mktemp -d)
trap 'rm -rf "$report" "$samples"' EXIT
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
configure mingw "$wine_folder" -DHW_INVENTORY_BENCH=ON
quietly cmake --build "$wine_folder" --target benchmarks
# On one core, with the server that answers it: how the system spreads the two over cores can double either side's time.
core=$(taskset -cp $$ | sed 's/.*: //; s/[,-].*//')
on_wine=(taskset -c "$core" "$root/toolchain/wine.sh" "$wine_folder/wine")
quietly "${on_wine[@]}" cmd /c exit
for program in collections traced-failure; do
    say "running $program under Wine"
    "${on_wine[@]}" "$wine_folder/bin/$program.exe" |
        tr -d '\r' | tee -a "$report" | { grep -v '^figure ' >&2 || true; } || short=1
done

# The program against a bare client's process, from the start of Wine's loader to the end. All run in turn.
rounds=21
# sample NAME PROGRAM [ARGUMENT...]: adds the wall time in microseconds and the peak memory in KiB to the samples of that name
sample() {
    local start=${EPOCHREALTIME/[.,]/}
    /usr/bin/time -o "$samples/peak" -f %M "${on_wine[@]}" "$wine_folder/bin/$2.exe" "${@:3}" > /dev/null 2>&1 ||
        { say "$2 fails"; exit 1; }
    echo $((${EPOCHREALTIME/[.,]/} - start)) >> "$samples/$1.time"
    cat "$samples/peak" >> "$samples/$1.memory"
}
median() { sort -n "$samples/$1" | sed -n $((rounds / 2 + 1))p; }
# figure NAME BAR EXPRESSION
figure() {
    local value verdict=ok
    value=$(awk "BEGIN { printf \"%.3f\", $3 }")
    awk "BEGIN { exit !($value <= $2) }" || { verdict=short; short=1; }
    echo "figure $1: $value (bar: at most $2) $verdict" >> "$report"
}
say "running hw-inventory and a bare client under Wine"
for ((round = 0; round < rounds; ++round)); do
    sample bare bare-client
    sample here hw-inventory --timeout 0
    sample worker hw-inventory
    sample start hw-inventory --list
done
for name in bare here worker start; do
    say "$name: $(($(median "$name.time") / 1000)) ms, $(($(median "$name.memory") / 1024)) MiB at the peak"
done
figure "hw-inventory --timeout 0 against a bare client process, wall time" 1.2 "$(median here.time) / $(median bare.time)"
figure "hw-inventory with its worker process against a bare client process, wall time" 2 "$(median worker.time) / $(median bare.time)"
figure "hw-inventory --timeout 0 beyond a bare client process at the peak of its memory, MiB" 16 \
    "($(median here.memory) - $(median bare.memory)) / 1024"

sed -n 's/^figure //p' "$report"
exit $short
