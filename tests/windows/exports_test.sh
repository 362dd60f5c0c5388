#!/usr/bin/env bash
# Checks that the Windows module exports exactly the listed functions and imports only
# libraries of the system.
#
# Usage: exports_test.sh OBJDUMP MODULE FUNCTION...
set -euo pipefail
export LC_ALL=C

objdump=${1:?the program objdump} module=${2:?the module}
shift 2

listing=$("$objdump" -p "$module")
[[ $listing == *pei-x86-64* ]] || { echo "'$module' is not a 64-bit module"; exit 1; }

exported=$(sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\t\[ *[0-9]*\] //p' <<<"$listing" | sort)
diff --label "expected" --label "exported by $module" -u <(printf '%s\n' "$@" | sort) \
    <(printf '%s\n' "$exported")

system='^(advapi32|kernel32|msvcrt|ole32|oleaut32|rpcrt4|user32|version)\.dll$'
imported=$(sed -n 's/^\tDLL Name: //p' <<<"$listing")
[[ -n $imported ]] || { echo "'$module' imports nothing: the listing was not understood"; exit 1; }
if foreign=$(grep -viE "$system" <<<"$imported"); then
    printf 'imports what is not of the system: %s\n' $foreign
    exit 1
fi
