#!/usr/bin/env bash
# Registers the module, runs a command, and unregisters the module.
#
# Usage: registered.sh MODULE COMMAND...
set -euo pipefail
module=$(winepath -w "$1")

regsvr32() { wine regsvr32 /s "$@" </dev/null >/dev/null 2>&1; }
regsvr32 "$module" || { echo "the module does not register" >&2; exit 1; }
status=0
"${@:2}" || status=$?
regsvr32 /u "$module" || { echo "the module does not unregister" >&2; exit 1; }
exit "$status"
