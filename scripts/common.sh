# Shared by the scripts: where things are, how they speak, and what a fresh Debian 12 machine lacks.
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cache="${HW_INVENTORY_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/hw-inventory-interface}"
mkdir -p "$cache"

# The PCI ID list of the releases, where it lies beside the checkout as the data of real machines does; else Debian's.
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

build_packages=(clang-16 lld-16 llvm-16 cmake ninja-build git ca-certificates dpkg-dev nlohmann-json3-dev pci.ids)
test_packages=(googletest libclang-rt-16-dev)
windows_packages=(g++-mingw-w64-x86-64-posix wine64)

# Configures a preset where its cache is missing or was made for other settings, and builds it.
#   build PRESET [ARGUMENT OF cmake --build...]
build() {
    local preset=$1 folder="$root/build/$1" settings=()
    shift
    [[ -n ${HW_INVENTORY_PCI_IDS:-} ]] && settings+=("-DHW_INVENTORY_PCI_IDS=$HW_INVENTORY_PCI_IDS")
    if [[ ! -f $folder/build.ninja || ${#settings[@]} -gt 0 ]]; then
        [[ -f $folder/build.ninja ]] || say "configuring $preset (the first time ever this builds Boost, a few minutes)"
        (cd "$root" && quietly cmake --preset "$preset" "${settings[@]}")
    fi
    say "building $preset"
    (cd "$root" && quietly cmake --build "$folder" "$@")
}
