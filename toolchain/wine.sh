#!/usr/bin/env bash
# Runs a Windows program under Wine, without a display and in a prefix of its own:
#   wine.sh PREFIX PROGRAM [ARGUMENT...]
# The prefix is created once, as a Windows 10; whoever comes meanwhile waits for it.
set -euo pipefail
WINEPREFIX=$(realpath -m "$1")
export WINEPREFIX WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES="mscoree=d;mshtml=d;winemenubuilder.exe=d"
unset DISPLAY
shift
wine=/usr/lib/wine/wine64

# One server from the first program on, which stays for ten minutes after the last one: programs that came while a server was just
# ending have failed, some without a word.
mkdir -p "$WINEPREFIX"
"${wine%/*}/wineserver64" -p600 > /dev/null 2>&1 < /dev/null || true # it is running already

create() {
    "$wine" wineboot --init || return
    "$wine" reg add 'HKCU\Software\Wine' /v Version /d win10 /f || return
    # The device of drive Z: is that of /, which must not be read; a query for the drive's label tries, and Wine complains. In one
    # without contents Wine finds no file system, and no label either.
    ln -sfn /dev/null "$WINEPREFIX/dosdevices/z::"
}
if [[ ! -f $WINEPREFIX/.windows10 ]]; then
    (
        flock 9
        if [[ ! -f $WINEPREFIX/.windows10 ]]; then
            create > "$WINEPREFIX/create.log" 2>&1 < /dev/null || { cat "$WINEPREFIX/create.log" >&2; exit 1; }
            touch "$WINEPREFIX/.windows10"
        fi
    ) 9> "$WINEPREFIX/.lock"
fi
exec "$wine" "$@"
