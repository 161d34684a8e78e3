# Shared by the scripts: paths, messages, builds, and the packages that a fresh Debian 12 machine lacks.
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cache="${HW_INVENTORY_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/hw-inventory-interface}"
mkdir -p "$cache"

# The PCI ID list that is embedded: HW_INVENTORY_PCI_IDS, else the one beside the checkout, else Debian's.
[[ -z ${HW_INVENTORY_PCI_IDS:-} && -f $root/../shared/pci.ids ]] && HW_INVENTORY_PCI_IDS=$(realpath "$root/../shared/pci.ids")

say() { echo "== $*" >&2; }

# Runs a step quietly; its output is shown only when it fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" > "$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

as_root() { if [[ $EUID -eq 0 ]]; then "$@"; else sudo "$@"; fi; }

# Installs those of the named Debian packages that are missing.
ensure_packages() {
    local missing=() package
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${Status}' "$package" 2> /dev/null) == "install ok installed" ]] || missing+=("$package")
    done
    [[ ${#missing[@]} -eq 0 ]] && return
    say "installing ${missing[*]}"
    quietly as_root apt-get update
    quietly as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
}

build_packages=(clang-16 lld-16 llvm-16 cmake ninja-build git ca-certificates dpkg-dev nlohmann-json3-dev libcli11-dev libssl-dev pci.ids)
test_packages=(g++-12 googletest libclang-rt-16-dev python3 python3-jsonschema)
browser_packages=(chromium)
windows_packages=(g++-mingw-w64-x86-64-posix wine64)

# Configures a preset into a folder and reports which PCI ID list its build embeds.
#   configure PRESET FOLDER [ARGUMENT OF cmake...]
configure() {
    local preset=$1 folder=$2 list
    shift 2
    [[ -f $folder/build.ninja ]] || say "configuring $preset (the first time ever this builds Boost, a few minutes)"
    quietly cmake -S "$root" --preset "$preset" -B "$folder" \
        ${HW_INVENTORY_PCI_IDS:+"-DHW_INVENTORY_PCI_IDS=$HW_INVENTORY_PCI_IDS"} "$@" || return
    list=$(sed -n 's/^HW_INVENTORY_PCI_IDS:FILEPATH=//p' "$folder/CMakeCache.txt")
    say "PCI ID list: version $(sed -n 's/\r$//; s/^#.*Version: *//p; 10q' "$list"), $list"
}

# Configures a preset and builds it.
#   build PRESET [ARGUMENT OF cmake --build...]
build() {
    local preset=$1 folder="$root/build/$1"
    shift
    configure "$preset" "$folder" || return
    say "building $preset"
    quietly cmake --build "$folder" "$@"
}

# Unpacks a package of npm in the cache, in the folder NAME-VERSION without the name's scope. 77: npm has not got it.
#   npm_package NAME VERSION
npm_package() {
    local folder="$cache/${1##*/}-$2"
    [[ ! -d $folder ]] || return 0
    command -v npm || ensure_packages npm || return 77
    npm pack "$1@$2" || return 77
    mkdir -p "$folder.new"
    tar -xzf ./*"${1##*/}-$2".tgz -C "$folder.new"
    mv "$folder.new" "$folder"
}
