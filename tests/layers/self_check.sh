#!/usr/bin/env bash
# Shows that check_layers.sh can fail: each row is one source added to a valid tree, with
# the report that it must cause.
set -euo pipefail

check=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/check_layers.sh
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

valid_tree() {
    rm -rf "$tree/src"
    mkdir -p "$tree"/src/{text,platform/posix,frame/server,idxdata,mtf,tdf}
    printf '#include <unistd.h>\n#ifdef __linux__\n#endif\n' >"$tree/src/platform/posix/files.cpp"
    printf '#include "platform/files.h"\nvoid f() { try {} catch (...) {} }\n' \
        >"$tree/src/frame/boundary.cpp"
    printf '#include <emmintrin.h>\n' >"$tree/src/text/scan.cpp"
    printf '#include "tdf/clean.h"\n' >"$tree/src/frame/server/top.cpp"
    printf '// #include <windows.h>\n#include <vector>\n#include "ZorelText.h"\n#if defined(NDEBUG)\n#endif\n' \
        >"$tree/src/tdf/clean.h"
}

# expect LABEL REPORT: what the check must print; empty: it must pass.
expect() {
    local label=$1 report=$2 output status=0
    output=$("$check" "$tree/src") || status=$?
    if [[ -z $report && $status -eq 0 && -z $output ]] ||
        [[ -n $report && $status -ne 0 && $output == *"$report"* && $(wc -l <<<"$output") -eq 1 ]]; then
        echo "ok    $label"
    else
        echo "WRONG $label: status $status, output '$output', expected '$report'"
        failures=$((failures + 1))
    fi
}

row() { # LABEL FILE TEXT REPORT
    valid_tree
    mkdir -p "$tree/src/$(dirname "$2")"
    printf "$3\n" >"$tree/src/$2"
    expect "$1" "$4"
}

valid_tree
expect "valid tree" ""
row "later layer" idxdata/a.cpp '#include "mtf/lines.h"' "idxdata/a.cpp:1: include of a later layer: mtf/lines.h"
row "top of the frame" tdf/a.cpp '#include "frame/server/registration/registration.h"' "include of a later layer"
row "text uses the system" text/a.cpp '#include "platform/files.h"' "include of a later layer"
row "one system" platform/a.cpp '#include "platform/posix/path.h"' "include of one system"
row "blanks in the line" platform/a.h '  #  include "frame/errors.h"' "include of a later layer"
row "sideways in its folder" mtf/a.cpp '#include "lines.h"' "include without a layer: lines.h"
row "out of the tree" mtf/a.cpp '#include "../tests/x.h"' "include of no layer"
row "unknown layer" gui/a.cpp 'int x;' "source outside the layers"
row "windows.h" platform/a.cpp '#include <windows.h>' "system header: windows.h"
row "sys/stat.h" tdf/a.cpp 'int x;\n#include <sys/stat.h>' "tdf/a.cpp:2: system header: sys/stat.h"
row "fcntl.h in quotes" frame/server/a.cpp '#include "fcntl.h"' "include without a layer: fcntl.h"
row "ifdef of a system" mtf/a.h '#ifdef _WIN32\n#endif' "system conditional"
row "condition over two lines" mtf/a.h '#if defined(NDEBUG) || \\\n    !defined(__linux__)\n#endif' "mtf/a.h:2: system conditional"
row "elif" frame/server/a.h '#if 0\n#elif defined _MSC_VER\n#endif' "frame/server/a.h:2: system conditional"
row "second catch-all" frame/server/a.cpp 'void g() { try {} catch( ... ) {} }' "frame/server/a.cpp:1: another catch-all"
rm -rf "$tree/src"
expect "no tree" "no sources in"
mkdir "$tree/src"
expect "empty tree" "no sources in"

exit $((failures > 0))
