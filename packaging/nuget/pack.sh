#!/usr/bin/env bash
# Packs an unpacked release into a NuGet package, and checks that every file that the package's targets name is in it.
#   packaging/nuget/pack.sh RELEASE_FOLDER OUTPUT_FOLDER
# Debian 12, as root or with sudo.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

[[ $# -eq 2 ]] || { echo "usage: packaging/nuget/pack.sh RELEASE_FOLDER OUTPUT_FOLDER" >&2; exit 64; }
[[ -f $1/bin/hw_inventory_interface.dll ]] || { echo "no release in $1: unpack dist/*-win64.zip first" >&2; exit 66; }
release=$(realpath "$1")
mkdir -p "$2"
output=$(realpath "$2")
ensure_packages nuget unzip

version=$(sed -n 's/^project(hw_inventory_interface VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$root/packaging/nuget/." "$work"
ln -s "$release" "$work/release"
for notice in LICENSE THIRD-PARTY-NOTICES; do
    cp "$release/$notice" "$work/$notice.txt" # nuget takes a name without an extension for a folder
done
(cd "$work" && quietly nuget pack hw_inventory_interface.nuspec -Version "$version" -OutputDirectory "$output" -NonInteractive)

package="$output/hw_inventory_interface.$version.nupkg"
unzip -q "$package" -d "$work/package"
failed=0
while IFS=: read -r file path; do
    folder=$(dirname "$file")
    compgen -G "$folder/${path//\\//}" > /dev/null || { echo "${file#"$work/package/"} names $path, which the package lacks" >&2; failed=1; }
done < <(grep -roE 'MSBuildThisFileDirectory\)[^;<"]*' "$work/package/build" --include='*.targets' | sed 's/MSBuildThisFileDirectory)//')
[[ $failed -eq 0 ]] && echo "$package"
