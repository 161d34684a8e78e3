#!/usr/bin/env bash
# Builds the Boost libraries that the project links, from Debian's source package, once per target:
#   boost.sh TARGET        TARGET is "mingw" or "native"; prints the install prefix on standard output
# Sources and results stay in the cache folder (HW_INVENTORY_CACHE), outside every build tree.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"

target=$1
version=1.81
libraries="format;date_time;log;filesystem"
prefix="$cache/boost-$version-$target"
if [[ -f "$prefix/.complete" ]]; then
    echo "$prefix"
    exit 0
fi

# A private list of sources and state: the machine's own apt configuration is left as it is.
fetch_source() {
    local apt="$cache/apt"
    mkdir -p "$apt/lists/partial" "$cache/boost-src"
    echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] http://deb.debian.org/debian bookworm main" > "$apt/sources.list"
    local options=(-o "Dir::Etc::sourcelist=$apt/sources.list" -o Dir::Etc::sourceparts=- -o "Dir::State::lists=$apt/lists"
                   -o APT::Sandbox::User=root)
    apt-get "${options[@]}" update
    (cd "$cache/boost-src" && apt-get "${options[@]}" source "boost$version")
}

# Installs into a folder of its own that is renamed when whole, so that an interrupted build is never taken for a finished one.
build() {
    local work="$cache/boost-build-$target" options=()
    rm -rf "$work" "$prefix" "$prefix.partial"
    case $target in
        mingw) options=(-DCMAKE_TOOLCHAIN_FILE="$root/toolchain/mingw-clang.cmake" -DBOOST_CONTEXT_IMPLEMENTATION=winfib) ;;
        native) options=(-DCMAKE_C_COMPILER=clang-16 -DCMAKE_CXX_COMPILER=clang++-16) ;;
    esac
    cmake -G Ninja -S "$cache"/boost-src/boost"$version"-*/ -B "$work" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_STANDARD=20 -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF \
        -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG -w -ffile-prefix-map=$cache=." \
        -DBOOST_INCLUDE_LIBRARIES="$libraries" -DCMAKE_INSTALL_PREFIX="$prefix" "${options[@]}"
    cmake --build "$work"
    cmake --install "$work"
    touch "$prefix/.complete"
    rm -rf "$work"
}

{
    compgen -G "$cache/boost-src/boost$version-*/CMakeLists.txt" > /dev/null || { say "fetching Boost $version"; fetch_source; }
    say "building Boost $version for $target"
    build
} >&2
echo "$prefix"
