#!/usr/bin/env bash
# Builds the archive for Windows users, unpacks it into a folder with a blank in its name,
# checks its contents, registers the module, runs the script samples, unregisters the module.
#
# Usage: zip_test.sh CPACK BUILD-FOLDER VERSION EXAMPLE-CATALOGUE
set -euo pipefail

cpack=$1 build=$2 version=$3 example=$4
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

(cd "$build" && "$cpack" -B "$folder/package") >"$folder/log" 2>&1 || fail "$(cat "$folder/log")"
archive=$folder/package/ZorelOibIdxLib-$version-win64.zip
[[ -f $archive ]] || fail "no such archive: $archive; $(ls "$folder/package")"

mkdir "$folder/un packed"
cd "$folder/un packed"
cmake -E tar xf "$archive"
# The archive may contain one folder with its name.
[[ ! -d ZorelOibIdxLib-$version-win64 ]] || cd "ZorelOibIdxLib-$version-win64"
for file in ZorelOibIdxComLib.dll ZorelOibIdxLib.tlb README.md interface.md \
    include/Zorel{OibIdxLib,Automation,Client,Text}.h samples/vbscript/catalogue.vbs \
    samples/jscript/catalogue.js samples/powershell/browse.ps1 \
    samples/cpp/{generate_and_search,browse_by_name}.cpp samples/python/{example.py,VERSION}; do
    [[ -s $file ]] || fail "not in the archive: $file"
done
grep -roP --include='*.md' '\]\(\K(?!https?:|#)[^)#]+' . >"$folder/links" || fail "no document has links"
while IFS=: read -r text link; do
    [[ -e $(dirname "$text")/$link ]] || fail "$text links to $link, which is missing"
done <"$folder/links"
if find . | grep -E '__pycache__|gtest|gmock|_test|\.a$|\.exe$'; then
    fail "these files do not belong in the archive"
fi

wine regsvr32 /s "$(winepath -w "$PWD/ZorelOibIdxComLib.dll")" </dev/null >/dev/null 2>&1 ||
    fail "the module does not register"
cp "$example" "$folder/C.dat"
for sample in samples/vbscript/catalogue.vbs samples/jscript/catalogue.js; do
    rm -f "$folder/notes.mtf"
    cd "$(dirname "$sample")"
    timeout 120 wine cscript.exe //nologo "$(basename "$sample")" \
        "$(winepath -w "$folder/C.dat")" 'C:\docs' "$(winepath -w "$folder/notes.mtf")" \
        >"$folder/raw" 2>/dev/null </dev/null || fail "$sample fails: $? $(cat "$folder/raw")"
    tr -d '\r' <"$folder/raw" >"$folder/output"
    diff "$folder/output" - <<'OUTPUT' || fail "$sample prints something else"
1 files, 1234 bytes
Documents.Count = 1
OUTPUT
    [[ -s $folder/notes.mtf ]] || fail "$sample writes no meta-file"
    cd - >/dev/null
done

wine regsvr32 /s /u "$(winepath -w "$PWD/ZorelOibIdxComLib.dll")" </dev/null >/dev/null 2>&1 ||
    fail "the module does not unregister"
if wine reg query 'HKCR\ZorelOibIdxLib.COibIdxLib' </dev/null >/dev/null 2>&1; then
    fail "the class is still registered"
fi
