#!/usr/bin/env bash
# Checks that the module exports exactly the published functions.
#
# Usage: exports_test.sh NM MODULE LIST
set -euo pipefail
export LC_ALL=C

nm=${1:?the program nm} module=${2:?the module} list=${3:?the list of its exports}
[[ -s $module ]] || { echo "no module '$module'"; exit 1; }
[[ -s $list ]] || { echo "no export listed in '$list'"; exit 1; }

# All defined symbols with their types, so that exported data and weak symbols are found too.
exported=$("$nm" -D --defined-only --format=posix "$module" | cut -d' ' -f1,2 | sort)
expected=$(xargs -n 1 <"$list" | sed 's/$/ T/' | sort)
diff --label "expected" --label "exported by $module" -u <(echo "$expected") <(echo "$exported")
