#!/usr/bin/env bash
# Loads what has come into a folder, such as the share of the machines or the files of a shipper, and puts it away.
#   take.sh FOLDER     for cron or a systemd timer. Files that were loaded go to FOLDER/loaded, the others stay for the next time.
set -uo pipefail
shopt -s nullglob
[[ $# -eq 1 && -d $1 ]] || { sed -n '2,3s/^# *//p' "${BASH_SOURCE[0]}" >&2; exit 64; }
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$1" && mkdir -p loaded || exit 1
exec 9> .taking && flock -n 9 || exit 0 # the run before is still at it

# A file that was written to in the last minute may still grow. What a machine sends again meanwhile must not be put away unread: so
# the file is moved before it is loaded.
status=0
for file in *.ndjson; do
    [[ $(($(date +%s) - $(stat -c %Y "$file"))) -lt 60 ]] || mv -n "$file" "$file.$(date +%s%N).taken"
done
for file in *.taken; do
    if "$here/../postgresql/load.sh" "$file"; then mv "$file" loaded/; else status=1; fi
done
exit $status
