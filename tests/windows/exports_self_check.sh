#!/usr/bin/env bash
# Proves that exports_test.sh can fail.
#
# Usage: exports_self_check.sh OBJDUMP MODULE C-COMPILER FUNCTION...
# The module and the functions agree.
set -euo pipefail

objdump=$1 module=$2 compiler=$3
shift 3
check=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/exports_test.sh
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0

row() { # LABEL REPORT MODULE FUNCTION...
    local label=$1 report=$2 output
    shift 2
    if output=$("$check" "$objdump" "$@" 2>&1) || [[ $output != *"$report"* ]]; then
        echo "WRONG $label: $output"
        failures=$((failures + 1))
    else
        echo "ok    $label"
    fi
}

# A module with one export and a library of its own beside the system's.
echo '__declspec(dllexport) int One(void) { return 1; }' >"$folder/own.c"
echo '__declspec(dllimport) int One(void); __declspec(dllexport) int Two(void) { return One(); }' \
    >"$folder/foreign.c"
"$compiler" -shared -o "$folder/own.dll" "$folder/own.c"
"$compiler" -shared -o "$folder/foreign.dll" "$folder/foreign.c" "$folder/own.dll"

row "module missing" "no module" "$folder/none.dll" "$@"
row "module not a module" "" "$folder/own.c" "$@"
row "no function" "no function named" "$module"
row "module exports too much" "+$1" "$module" "${@:2}"
row "module exports too little" "-DllMain" "$module" "$@" DllMain
row "library of its own" "imports what is not of the system: own.dll" "$folder/foreign.dll" Two

exit $((failures > 0))
