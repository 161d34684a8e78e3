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

# Where Debian's RELEASE has its source packages, in apt's deb822 form: the archives of the binary packages in the apt configuration
# of FOLDER, written in either form, with their addresses, keys and other options.
#   source_entries FOLDER RELEASE
source_entries() (
    shopt -s nullglob
    lists=("$1"/sources.list.d/*.list)
    [[ ! -f $1/sources.list ]] || lists+=("$1/sources.list")
    awk -v release="$2" -v RS= '
        function has(field, word) { return (" " value[field] " ") ~ ("[ \t\n]" word "[ \t\n]") }
        {
            delete value
            count = split($0, lines, "\n")
            for (number = 1; number <= count; ++number) {
                line = lines[number]
                if (line ~ /^#/)
                    continue
                if (line ~ /^[ \t]/) {
                    value[field] = value[field] "\n" line
                    continue
                }
                field = tolower(substr(line, 1, index(line, ":") - 1))
                value[field] = substr(line, index(line, ":") + 1)
            }
            if (!has("types", "deb") || !has("suites", release) || !has("components", "main") || has("enabled", "no"))
                next
            value["types"] = " deb-src"
            value["suites"] = " " release
            value["components"] = " main"
            for (field in value)
                if (value[field] != "" && field != "architectures")
                    print field ":" value[field]
            print ""
        }' "$1"/sources.list.d/*.sources /dev/null
    awk -v release="$2" '
        {
            sub(/#.*/, "")
            options = match($0, /\[[^]]*\]/) ? substr($0, RSTART + 1, RLENGTH - 2) : ""
            sub(/\[[^]]*\]/, "")
        }
        $1 == "deb" && $2 !~ /^cdrom:/ && $3 == release && /[ \t]main([ \t]|$)/ {
            print "types: deb-src\nuris: " $2 "\nsuites: " release "\ncomponents: main"
            count = split(options, option, " ")
            for (number = 1; number <= count; ++number)
                if (sub(/=/, ": ", option[number]) && option[number] !~ /^arch:/)
                    print option[number]
            print ""
        }' "${lists[@]}" /dev/null
)

# With a list of sources and a state of its own: the machine's apt configuration is left as it is.
fetch_source() {
    local apt="$cache/apt" configuration release
    release=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    eval "$(apt-config shell configuration Dir::Etc/d)"
    mkdir -p "$apt/lists/partial" "$cache/boost-src"
    source_entries "$configuration" "$release" > "$apt/debian.sources"
    [[ -s $apt/debian.sources ]] || { say "apt's configuration in $configuration has no archive of Debian $release"; return 1; }
    local options=(-o Dir::Etc::sourcelist="$apt/debian.sources" -o Dir::Etc::sourceparts=- -o "Dir::State::lists=$apt/lists"
                   -o APT::Sandbox::User=root)
    apt-get "${options[@]}" update
    (cd "$cache/boost-src" && apt-get "${options[@]}" source "boost$version")
}

# The marker comes last, so that an interrupted build is never taken for a finished one.
build() {
    local work="$cache/boost-build-$target" options=()
    rm -rf "$work" "$prefix"
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
