#!/usr/bin/env bash
# Builds everything and runs all tests: natively, under the sanitizers and under Wine, on a release as its users get it, from other
# languages, the databases of a fleet, and the fuzz targets for a few seconds each. A second compiler builds the portable parts, for
# its warnings. Ends with a summary.
#   ./test.sh [PART...]     parts: native native-asan native-gcc mingw release bindings fleet fuzz (all of them without arguments)
# Debian 12, as root or with sudo. HW_INVENTORY_PCI_IDS=FILE embeds that PCI ID list. HW_INVENTORY_SOAK=1 soaks the library in
# 10,000 collections instead of 1,000.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

parts=(native native-asan native-gcc mingw release bindings fleet fuzz)
for part in "$@"; do
    [[ " ${parts[*]} " == *" $part "* ]] || { echo "test: no part $part: there are ${parts[*]}" >&2; exit 64; }
done
[[ $# -eq 0 ]] || parts=("$@")

# Runs one preset's tests; CTest's own report goes to a JUnit file, whose first line holds the counts. Of a test that fails, its
# name and what it printed are shown: a machine that has run them is often gone when somebody reads that one failed.
passed=0 failed=0 skipped=0
declare -a summary
run_preset() {
    local preset=$1 packages=("${build_packages[@]}" "${test_packages[@]}")
    local report="$root/build/$preset/tests.xml"
    [[ $preset != native ]] || packages+=("${browser_packages[@]}")
    [[ $preset != mingw ]] || packages+=("${windows_packages[@]}")
    ensure_packages "${packages[@]}" || exit 1
    build "$preset" || { summary+=("$preset: does not build"); failed=$((failed + 1)); return; }
    [[ $preset != native-gcc ]] || { summary+=("$preset: builds without warnings"); passed=$((passed + 1)); return; }
    say "testing $preset"
    (cd "$root" && ctest --preset "$preset" -j "$(nproc)" --output-junit "$report" --quiet) >&2
    local counts tests bad left
    counts=$(grep -m1 -A5 '<testsuite' "$report" | tr '\n\t' '  ')
    tests=$(sed 's/.* tests="\([0-9]*\)".*/\1/' <<< "$counts")
    bad=$(sed 's/.* failures="\([0-9]*\)".*/\1/' <<< "$counts")
    left=$(sed 's/.* skipped="\([0-9]*\)".*/\1/' <<< "$counts")
    summary+=("$preset: $((tests - bad - left)) passed, $bad failed, $left skipped")
    passed=$((passed + tests - bad - left)) failed=$((failed + bad)) skipped=$((skipped + left))
    [[ $bad -eq 0 ]] || python3 "$root/scripts/failures.py" "$report" >&2
    [[ $tests -gt 0 ]] || failed=$((failed + 1))
}

# Runs a command that prints a line for each of its tests.
#   run_lines COMMAND...
run_lines() {
    local results
    results=$("$@")
    passed=$((passed + $(grep -c -E ': ok$|no finding$' <<< "$results")))
    skipped=$((skipped + $(grep -c ': skipped$' <<< "$results")))
    failed=$((failed + $(grep -c -v -E ': ok$|: skipped$|no finding$' <<< "$results")))
    summary+=("$results")
}

# Lines that are not blank, of the files of git's that match.
#   lines PATTERN [PATTERN OF FILES TO LEAVE OUT]
lines() { git -C "$root" ls-files | grep -E "$1" | grep -v -E "${2:-^$}" | sed "s|^|$root/|" | xargs cat | grep -c -v '^[[:space:]]*$'; }
report_share() {
    local code='[.](cpp|h|hpp|c|cs|go|js|mjs|ts|py|rs|sh|sql)$' product tests data
    product=$(lines "$code" '^(tests|bench)/') tests=$(lines "^tests/.*$code") data=$(lines '^tests/.*[.]json$')
    summary+=("lines: code $product, tests $tests ($((100 * tests / product)) %), data of tests $data")
}

for part in "${parts[@]}"; do
    case $part in
        release | bindings | fleet) run_lines "$root/tests/$part/run.sh" ;;
        # A few seconds for each target: enough to see that it still runs from its seeds.
        fuzz) run_lines "$root/fuzz.sh" "${HW_INVENTORY_FUZZ_SECONDS:-5}" ;;
        *) run_preset "$part" ;;
    esac
done
report_share
printf '%s\n' "${summary[@]}"
echo "$passed passed, $failed failed, $skipped skipped"
[[ $failed -eq 0 ]]
