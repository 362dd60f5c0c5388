#!/usr/bin/env bash
# Registers and unregisters the module with regsvr32, each twice, and compares the changes of
# the registry with the expected ones.
#
# Usage: registration_test.sh MODULE TYPE-LIBRARY ENTRIES
# ENTRIES lists the values that a registration adds, and keys without values; a line
# INTERFACE {IID} NAME is the system's entries of an interface.
set -euo pipefail
export LC_ALL=C

module=$1 library=$2 list=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
[[ -s $module && -s $library && -s $list ]]

entries=$folder/entries
awk '
    $1 != "INTERFACE" {
        key = substr($0, 1, index($0, "]"))
        if (key != $0 && key != last) print key
        last = key
        print
        next
    }
    {
        key = "> [HKEY_CLASSES_ROOT\\Interface\\" $2
        stub = "@=\"{00020424-0000-0000-C000-000000000046}\""
        print key "\\ProxyStubClsid32]\n" key "\\ProxyStubClsid32] " stub
        print key "\\ProxyStubClsid]\n" key "\\ProxyStubClsid] " stub
        print key "\\TypeLib]\n" key "\\TypeLib] \"Version\"=\"1.0\""
        print key "\\TypeLib] @=\"{B61B642B-EA60-4C62-918F-26F54F0F815D}\""
        print key "]\n" key "] @=\"" $3 "\""
    }' "$list" >"$entries"

# The registry entries of all classes: a line for each key and each value, without the copy
# that Wine keeps for 32-bit programs.
snapshot() {
    timeout 60 wine reg export HKCR "$seen\\exported.reg" /y >/dev/null
    iconv -f UTF-16 -t UTF-8 "$folder/exported.reg" | tr -d '\r' | awk '
        /^\[/ { key = $0; print key; next }
        key != "" && NF { print key " " $0 }' | sed '/Wow6432Node/d' | sort
}

# expect STEP FILE PATH: the changes since the start must be those in the file, where MODULE
# and FOLDER replace the module's path (in Windows form) and its folder.
expect() {
    local path=${3//\\/\\\\} found
    snapshot >"$folder/now"
    found=$(diff "$folder/start" "$folder/now" | sed -n '/^[<>]/p') || true
    found=${found//"$path"/MODULE}
    diff --label "expected" --label "found $1" -u "$2" - <<<"${found//"${path%\\\\*}"/FOLDER}" || exit 1
}

register() { timeout 120 wine regsvr32 /s "$@" || { echo "regsvr32 $*: $?"; exit 1; }; }

cp "$module" "$folder/it's a module.dll"
seen=$(winepath -w "$folder") # in Windows form
odd="$seen\\it's a module.dll"
real=$(winepath -w "$module")
echo >"$folder/nothing" # what a comparison finds without changes

# Removes entries of earlier runs.
timeout 60 wine reg delete 'HKCR\TypeLib\{b61b642b-ea60-4c62-918f-26f54f0f815d}' /f \
    >/dev/null 2>&1 || true
register "$real"
register /u "$real"
snapshot >"$folder/start"
(($(grep -cF '[HKEY_CLASSES_ROOT\CLSID' "$folder/start") > 100)) || { echo "no snapshot"; exit 1; }

register "$odd"
expect "with a quote and blanks in the path" "$entries" "$odd"
rm "$folder/it's a module.dll"
register "$real"
expect "after another path" "$entries" "$real"
register "$real"
expect "after registering twice" "$entries" "$real"
register /u "$real"
expect "after unregistering" "$folder/nothing" "$real"
register /u "$real"
expect "after unregistering twice" "$folder/nothing" "$real"

# Unregistering from another path removes the registration under the old path.
cp "$module" "$folder/it's a module.dll"
register "$odd"
rm "$folder/it's a module.dll"
register /u "$real"
expect "after unregistering under another path" "$folder/nothing" "$real"

# A module without a type library uses the .tlb file in its folder, and fails without it.
bare="$seen\\bare.dll"
sed 's/T\x00Y\x00P\x00E\x00L\x00I\x00B\x00/N\x00O\x00N\x00E\x00L\x00I\x00B\x00/' "$module" >"$folder/bare.dll"
if cmp -s "$module" "$folder/bare.dll" || timeout 60 wine regsvr32 /s "$bare"; then
    echo "a module without a type library is registered"
    exit 1
fi
cp "$library" "$folder/bare.tlb"
register "$bare"
expect "with the type library beside the module" "$entries" "$bare"
register /u "$bare"
expect "after unregistering it" "$folder/nothing" "$real"
