#!/usr/bin/env bash
# Feeds the parsers and queries random input under the sanitizers, each target for so many seconds (60 without an argument):
#   ./fuzz.sh [SECONDS [TARGET...]]
# Fails on any finding and leaves the input in build/fuzz/findings. Debian 12, as root or with sudo.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

seconds=${1:-60}
shift
ensure_packages "${build_packages[@]}" "${test_packages[@]}" || exit 1
folder="$root/build/fuzz"
say "building the fuzz targets"
configure native-asan "$folder" -DHW_INVENTORY_FUZZ=ON &&
    quietly cmake --build "$folder" --target fuzzers || exit 1
[[ $# -gt 0 ]] || set -- $(cd "$folder/fuzzers" && ls)

# What a run finds new goes to a folder of its own and is used again by the next run; the seeds stay as they are.
failed=0
for target in "$@"; do
    corpus="$folder/corpus/$target" findings="$folder/findings/$target" log="$folder/$target.log"
    mkdir -p "$corpus" "$findings"
    say "fuzzing $target for $seconds s"
    "$folder/fuzzers/$target" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 -artifact_prefix="$findings/" \
        "$corpus" "$root/tests/fuzz/seeds/$target" > "$log" 2>&1
    status=$?
    inputs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    if [[ $status -eq 0 ]]; then
        echo "$target: ${inputs:-0} inputs, no finding"
    else
        tail -n 60 "$log" >&2
        echo "$target: ${inputs:-?} inputs, FINDING (input in $findings)"
        failed=1
    fi
done
exit $failed
