#!/usr/bin/env bash
# The late-bound C++ sample: a listing, and a failure told with its number and text.
#
# Usage: by_name_client_test.sh PROGRAM EXAMPLE-VOLUME
set -euo pipefail
program=$1
volume=$(winepath -w "$2")

browse() { timeout 120 wine "$program" "$@" </dev/null 2>/dev/null | tr -d '\r'; }

diff <(printf 'docs\\\n0 files, 0 bytes\n') <(browse "$volume" C:)
diff <(printf '1 files, 1234 bytes\n') <(browse "$volume" 'C:\docs')

status=0
output=$(browse "$volume.none" C:) || status=$?
[[ $status -eq 1 && $output == 0x80070002:* ]] || {
    echo "a missing catalogue gives $status: $output" >&2
    exit 1
}
