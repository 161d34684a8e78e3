#!/usr/bin/env bash
# Runs a Windows program under Wine, without a display and in a prefix of its own:
#   wine.sh PREFIX PROGRAM [ARGUMENT...]
# The prefix is created once; whoever comes meanwhile waits for it.
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

if [[ ! -f $WINEPREFIX/.complete ]]; then
    (
        flock 9
        if [[ ! -f $WINEPREFIX/.complete ]]; then
            "$wine" wineboot --init > "$WINEPREFIX/wineboot.log" 2>&1 < /dev/null || { cat "$WINEPREFIX/wineboot.log" >&2; exit 1; }
            touch "$WINEPREFIX/.complete"
        fi
    ) 9> "$WINEPREFIX/.lock"
fi
exec "$wine" "$@"
