#!/usr/bin/env bash
# Makes a release: archives of the product, its symbols and its sources, a bill of materials (CycloneDX), and SHA256SUMS.
#   ./dist.sh [--sign KEY CERT] [FOLDER]      FOLDER is dist/ without an argument; an earlier release in it is replaced
# With a key and a certificate (PEM) the libraries and programs are signed. All times are that of the last commit: the same commit
# gives the same bytes, but for signatures. Debian 12, as root or with sudo.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

fail() { echo "dist: $*" >&2; exit "${status:-1}"; }
key='' certificate=''
if [[ ${1:-} == --sign ]]; then
    [[ $# -ge 3 ]] || status=64 fail "--sign takes a key and a certificate"
    key=$2 certificate=$3
    [[ -f $key && -f $certificate ]] || fail "no key at $key, or no certificate at $certificate"
    shift 3
fi
[[ $# -le 1 && ${1:-} != -* ]] || status=64 fail "not understood: $*"
dist=$(realpath -m "${1:-$root/dist}")
[[ ! -e $dist || -f $dist/SHA256SUMS || -z $(ls -A "$dist") ]] || fail "$dist holds something else than a release"
[[ -z ${HW_INVENTORY_PCI_IDS:-} || -f $HW_INVENTORY_PCI_IDS ]] || fail "no PCI ID list at $HW_INVENTORY_PCI_IDS"

ensure_packages "${build_packages[@]}" "${windows_packages[@]}" python3 ${key:+osslsigncode} || exit 1
commit_time=$(git -C "$root" log -1 --format=%ct 2> /dev/null) || fail "no git checkout: a release is made of a commit"
[[ -z $(git -C "$root" status --porcelain) ]] || say "not all changes are committed: the archive of the sources lacks them"
folder="$root/build/mingw" stage="$root/build/mingw/release"
targets=(hw_inventory_interface vm_detect hw-inventory hw-machine)
build mingw --target "${targets[@]}" || fail "the product does not build"
for target in "${targets[@]}"; do
    [[ -f $folder/bin/$target.pdb ]] || fail "no symbols at $folder/bin/$target.pdb: remove $target there, it is built anew"
done
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$folder/CMakeCache.txt")

rm -rf "$stage"
install_component() { quietly cmake --install "$folder" --component "$2" --prefix "$stage/$1"; }
for component in runtime development docs; do
    install_component win64 $component || exit 1
done
install_component symbols symbols || exit 1
if [[ -n $key ]]; then
    for file in "$stage"/win64/bin/*; do
        quietly osslsigncode sign -h sha256 -n hw_inventory_interface -key "$key" -certs "$certificate" \
            -in "$file" -out "$file.signed" || fail "$(basename "$file") cannot be signed"
        mv "$file.signed" "$file"
    done
fi

name=hw_inventory_interface-$version
mkdir "$stage/dist"
git -C "$root" -c tar.umask=0022 archive --format=tar --prefix="$name/" HEAD | gzip -9n > "$stage/dist/$name-src.tar.gz" || exit 1
python3 "$root/scripts/release.py" "$root" "$folder" "$stage" "$stage/dist" "$version" "$commit_time" || exit 1
rm -rf "$dist" && mkdir -p "$(dirname "$dist")" && mv "$stage/dist" "$dist" && ls -l "$dist"
