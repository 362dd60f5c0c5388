#!/usr/bin/env bash
# Proves that exports_test.sh can fail.
#
# Usage: exports_self_check.sh NM MODULE LIST    (the module and the list agree)
set -euo pipefail

nm=$1 module=$2 list=$3
check=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/exports_test.sh
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0

row() { # LABEL MODULE LIST REPORT
    local output
    if output=$("$check" "$nm" "$2" "$3" 2>&1) || [[ $output != *"$4"* ]]; then
        echo "WRONG $1: $output"
        failures=$((failures + 1))
    else
        echo "ok    $1"
    fi
}

: >"$folder/empty"
sed 1d "$list" >"$folder/one_less"
{ cat "$list"; echo SysReAllocString; } >"$folder/one_more"
row "module missing" "$folder/none.so" "$list" "no module"
row "module not a module" "$list" "$list" ""
row "list missing" "$module" "$folder/none" "no export listed"
row "list empty" "$module" "$folder/empty" "no export listed"
row "module exports too much" "$module" "$folder/one_less" "+$(head -n 1 "$list") T"
row "module exports too little" "$module" "$folder/one_more" "-SysReAllocString T"

exit $((failures > 0))
