#!/usr/bin/env bash
# Checks that the module exports exactly the functions that the client in C declares.
#
# Usage: exports_test.sh NM MODULE HEADER
set -euo pipefail
export LC_ALL=C

nm=${1:?the program nm} module=${2:?the module} header=${3:?the declarations}
expected=$(grep -o ' EXPORT([^,]*, [A-Za-z]*' "$header" | sed 's/.* //; s/$/ T/' | sort)
# All defined symbols with their types, so that exported data and weak symbols are found too.
exported=$("$nm" -D --defined-only --format=posix "$module" | cut -d' ' -f1,2 | sort)
diff --label "expected" --label "exported by $module" -u <(echo "$expected") <(echo "$exported")
