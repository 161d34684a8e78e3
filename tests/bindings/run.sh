#!/usr/bin/env bash
# Plays the scenarios on the example programs of the bindings. Each line of the output is a case and ends in ok, FAILED or skipped.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"
bindings="$root/bindings" work="$root/build/bindings" native="$root/build/native/bin/standin" product="$root/build/mingw"
wine=("$root/toolchain/wine.sh" "$product/wine")
export GOOS=windows CGO_ENABLED=0 GOPROXY=off GOCACHE="$cache/go"
rm -rf "$work" && mkdir -p "$work/alone" && cd "$work" || exit 1

types() { "$root/scripts/document_types.py" --check; }
go_style() { (cd "$bindings/go" && [[ -z $(gofmt -l .) ]] && go vet ./... && GOOS=linux go vet .); }
go_builds() { (cd "$bindings/go" && go build -o "$work/" ./examples/machine) && cp machine.exe without-wmi.exe; }
csharp_builds() {
    mcs -langversion:7.2 -warn:4 -warnaserror -r:System.Runtime.Serialization -out:mono.exe "$bindings"/csharp/{,examples/}*.cs
}

# play BINDING SET LIBRARY COMMAND...
play() {
    python3 "$root/tests/bindings/run.py" "$@" 2> log || echo "bindings: $1, $2: FAILED"
    cat log >&2
}

ensure_packages golang-go mono-mcs mono-runtime libmono-system-runtime-serialization4.0-cil python3-jsonschema wine64 || exit 1
build native --target standin && build mingw --target standin hw_inventory_interface || exit 1
for case in types go_style go_builds csharp_builds; do
    "$case" > log 2>&1 && result=ok || { result=FAILED; cat log >&2; }
    echo "bindings: ${case/_/ }: $result"
done
# Wine refuses WMI to a program of this name.
"${wine[@]}" reg add 'HKCU\Software\Wine\AppDefaults\without-wmi.exe\DllOverrides' /v wbemprox /d '' /f > /dev/null 2>&1
cp "$product/bin/hw_inventory_interface.dll" alone
play go stand-in "$product/bin/standin/hw_inventory_interface.dll" "${wine[@]}" machine.exe
play go machine "$product/bin/hw_inventory_interface.dll" "${wine[@]}" machine.exe
play go 'machine without WMI' "$product/bin/hw_inventory_interface.dll" "${wine[@]}" without-wmi.exe
play 'csharp on mono' stand-in "$native/libhw_inventory_interface.so" mono mono.exe
