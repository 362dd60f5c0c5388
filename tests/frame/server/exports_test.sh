#!/usr/bin/env bash
# Holds the functions that the module exports against the published list, exactly.
#
# Usage: exports_test.sh NM MODULE LIST
set -euo pipefail
export LC_ALL=C

nm=${1:?the program nm} module=${2:?the module} list=${3:?the list of its exports}
[[ -s $module ]] || { echo "no module '$module'"; exit 1; }
[[ -s $list ]] || { echo "no export listed in '$list'"; exit 1; }

# Everything defined, functions (T) or not, so that data or weak symbols show as well.
exported=$("$nm" -D --defined-only --format=posix "$module" | cut -d' ' -f1,2 | sort)
expected=$(sed 's/$/ T/' "$list" | sort)
diff --label "expected" --label "exported by $module" -u <(echo "$expected") <(echo "$exported")
