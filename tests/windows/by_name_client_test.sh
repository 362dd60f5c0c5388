#!/usr/bin/env bash
# The late-bound C++ sample: a listing, a search, and failures with number and text.
#
# Usage: by_name_client_test.sh PROGRAM EXAMPLE-VOLUME
set -euo pipefail
program=$1
volume=$(winepath -w "$2")

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
text=$(winepath -w "$folder/lines.txt")
{
    printf '\xff\xfe'
    printf '01/15/2013 09:05:07, 7, C:\\docs\\%s\r\n' a.txt b.doc c.txt |
        iconv -f UTF-8 -t UTF-16LE
} >"$folder/lines.txt"

browse() { timeout 120 wine "$program" "$@" </dev/null 2>/dev/null | tr -d '\r'; }

line='01/15/2013 09:05:07, 7, C:\docs\'
diff <(printf 'docs\\\n0 files, 0 bytes\n%s\n' "${line}b.doc") \
    <(browse "$volume" C: "$text" 'b*')
diff <(printf '%s\n' '1 files, 1234 bytes' "${line}a.txt" "${line}c.txt") \
    <(browse "$volume" 'C:\docs' "$text" '*.txt')
diff <(printf '0 files, 0 bytes\n') <(browse "$volume" 'C:\none' "$text" '')

# fails_as RESULT VOLUME TEXT
fails_as() {
    local status=0 output
    output=$(browse "$2" 'C:\docs' "$3" '*') || status=$?
    [[ $status -eq 1 ]] && grep -q "^0x$1: " <<<"$output" || {
        echo "status $status for a missing file: $output" >&2
        exit 1
    }
}
fails_as 80070002 "$volume.none" "$text"
fails_as 80070002 "$volume" "$text.none"
