#!/usr/bin/env bash
# Proves that exports_test.sh can fail.
#
# Usage: exports_self_check.sh NM MODULE LIST    (the module and the list agree)
set -euo pipefail

nm=$1 module=$2 list=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fails() { # REPORT MODULE LIST
    local output
    if output=$("$(dirname "$0")/exports_test.sh" "$nm" "$2" "$3" 2>&1) || [[ $output != *"$1"* ]]; then
        echo "no failure with '$1': $output"
        exit 1
    fi
}
: >"$folder/empty"
sed 's/SysAllocString //' "$list" >"$folder/one_less"
sed '1s/^/SysReAllocString /' "$list" >"$folder/one_more"
fails "no module" "$folder/none.so" "$list"
fails "" "$list" "$list"
fails "no export listed" "$module" "$folder/none"
fails "no export listed" "$module" "$folder/empty"
fails "+SysAllocString T" "$module" "$folder/one_less"
fails "-SysReAllocString T" "$module" "$folder/one_more"
