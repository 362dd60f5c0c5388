#!/usr/bin/env bash
# The samples in C++, early and late bound: listings, searches, and failures with their text.
#
# Usage: cpp_clients_test.sh GENERATE_AND_SEARCH BROWSE_BY_NAME EXAMPLE-VOLUME
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/catalogue" "$folder/text"
cp "$3" "$folder/catalogue/C.dat"
printf 'Volume.C=C.dat\r\n#' >"$folder/catalogue/summary.txt"
catalogue=$(winepath -w "$folder/catalogue") texts=$(winepath -w "$folder/text")

run() { timeout 120 wine "$@" </dev/null 2>/dev/null | tr -d '\r'; }
diff <(run "$1" "$catalogue" "$texts" 'a.t') - <<'OUTPUT'
        1234  C:\docs\a.txt  (LAB\ann)
1 found
-- vl.C.LAB.ann.0.txt
        1234  C:\docs\a.txt  ()
1 found
OUTPUT

text="$texts\\vl.C.LAB.ann.0.txt"
diff <(printf '%s\n' '1 files, 1234 bytes' '01/15/2013 09:05:07, 1234, C:\docs\a.txt') \
    <(run "$2" "$catalogue\\C.dat" 'C:\docs' "$text" '*.txt')
diff <(printf '%s\n' 'docs\' '0 files, 0 bytes') <(run "$2" "$catalogue\\C.dat" C: "$text" 'b*')

# fails_as TEXT COMMAND...
fails_as() {
    local status=0 output
    output=$("${@:2}") || status=$?
    [[ $status -eq 1 && $output == *"$1"* ]] || { echo "status $status: $output"; exit 1; }
}
fails_as summary.txt run "$1" "$catalogue.none" "$texts" 'a.t'
fails_as '0x80070002: ' run "$2" "$catalogue\\D.dat" 'C:\docs' "$text" '*'
fails_as '0x80070002: ' run "$2" "$catalogue\\C.dat" 'C:\docs' "$text.none" '*'
