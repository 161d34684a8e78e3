#!/usr/bin/env bash
# Prints this machine's inventory through the library under Wine: installs what is missing, builds what changed.
#   ./inventory.sh [ARGUMENT OF hw-inventory...]      as docs/cli.md has them; ./inventory.sh --help prints them
# Debian 12, as root or with sudo.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/scripts/common.sh"

ensure_packages "${build_packages[@]}" "${windows_packages[@]}"
build mingw --target hw-inventory
exec "$root/toolchain/wine.sh" "$root/build/mingw/wine" "$root/build/mingw/bin/hw-inventory.exe" "$@"
