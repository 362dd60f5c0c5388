#!/usr/bin/env bash
# The C++ sample on a catalogue of one volume: both searches find its file.
#
# Usage: cpp_client_test.sh PROGRAM EXAMPLE-VOLUME
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/catalogue" "$folder/text"
cp "$2" "$folder/catalogue/C.dat"
printf 'Volume.C=C.dat\r\n#' >"$folder/catalogue/summary.txt"

timeout 120 wine "$1" "$(winepath -w "$folder/catalogue")" "$(winepath -w "$folder/text")" \
    'a.t' </dev/null 2>/dev/null | tr -d '\r' >"$folder/output"
diff "$folder/output" - <<'OUTPUT'
        1234  C:\docs\a.txt  (LAB\ann)
1 found
-- vl.C.LAB.ann.0.txt
        1234  C:\docs\a.txt  ()
1 found
OUTPUT

if timeout 120 wine "$1" "$(winepath -w "$folder/none")" "$(winepath -w "$folder/text")" \
    'a.t' </dev/null >"$folder/output" 2>/dev/null; then
    echo "a missing catalogue does not fail" >&2
    exit 1
fi
grep -q 'summary.txt' "$folder/output"
