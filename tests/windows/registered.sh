#!/usr/bin/env bash
# Registers modules, runs a command, and unregisters them.
#
# Usage: registered.sh MODULE HELPER-MODULE COMMAND...
set -euo pipefail
module=$(winepath -w "$1")
helper=$(winepath -w "$2")
shift 2

regsvr32() {
    wine regsvr32 /s "$@" </dev/null >/dev/null 2>&1
}
regsvr32 "$module" || { echo "the module does not register" >&2; exit 1; }
regsvr32 "$helper" || { echo "the helper does not register" >&2; exit 1; }
status=0
"$@" || status=$?
regsvr32 /u "$module" || { echo "the module does not unregister" >&2; exit 1; }
exit "$status"
