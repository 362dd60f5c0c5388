#!/usr/bin/env bash
# The README's VBScript is the sample, to the letter.
#
# Usage: readme_test.sh SOURCES
set -euo pipefail
shown=$(sed -n '/^```vbscript$/,/^```$/{/^```/!p}' "$1/README.md")
diff <(printf '%s\n' "$shown") "$1/samples/vbscript/catalogue.vbs"
