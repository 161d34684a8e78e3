#!/usr/bin/env bash
# Prints the envelopes of a fleet that does not exist: simulate.sh MACHINES [DAYS] [OPTION...]; --help has the options.
exec python3 "$(dirname "${BASH_SOURCE[0]}")/simulate.py" "$@"
