#!/usr/bin/env bash
# Shows that check_layers.sh can fail: each row is one source added to a valid tree, with
# the report that it must cause.
set -euo pipefail

check=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/check_layers.sh
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

valid_tree() {
    rm -rf "$tree"/{src,cli}
    mkdir -p "$tree"/src/{text,platform/posix,frame/{objects,server},idxdata,mtf,tdf} "$tree"/cli/scan/posix
    printf '#include <unistd.h>\n#ifdef __linux__\n#endif\n' >"$tree/src/platform/posix/files.cpp"
    printf '#include "platform/files.h"\nvoid f() { try {} catch (...) {} }\n' \
        >"$tree/src/frame/objects/boundary.cpp"
    printf '#include "tdf/clean.h"\n' >"$tree/src/frame/server/top.cpp"
    printf '// #include <windows.h>\n#include <emmintrin.h>\n#include "ZorelText.h"\n#if defined(NDEBUG)\n#endif\n' \
        >"$tree/src/tdf/clean.h"
    printf '#include <sys/stat.h>\n#include "cli/scan/posix/a.h"\n' >"$tree/cli/scan/posix/scan.cpp"
    printf '#include <CLI/App.hpp>\n#include <vector>\n#include "ZorelClient.h"\n%s\n' \
        '#include "idxdata/tables/records.h"' >"$tree/cli/main.cpp"
}

# expect LABEL REPORT: what the check must print; empty: it must pass.
expect() {
    local label=$1 report=$2 output status=0
    output=$("$check" "$tree") || status=$?
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
    mkdir -p "$tree/$(dirname "$2")"
    printf "$3\n" >"$tree/$2"
    expect "$1" "$4"
}

valid_tree && expect "valid tree" ""
row "later layer" src/idxdata/a.cpp '#include "mtf/lines.h"' "src/idxdata/a.cpp:1: include of a later layer: mtf/lines.h"
row "top of the frame" src/tdf/a.cpp '#include "frame/server/registration/registration.h"' "include of a later layer"
row "one system" src/platform/a.cpp '#include "platform/posix/path.h"' "include of one system"
row "blanks in the line" src/platform/a.h '  #  include "frame/errors.h"' "include of a later layer"
row "sideways in its folder" src/mtf/a.cpp '#include "lines.h"' "include without a layer: lines.h"
row "out of the tree" src/mtf/a.cpp '#include "../tests/x.h"' "include of no layer"
row "unknown layer" src/gui/a.cpp 'int x;' "source outside the layers"
row "sys/stat.h" src/tdf/a.cpp 'int x;\n#include <sys/stat.h>' "src/tdf/a.cpp:2: system header: sys/stat.h"
row "condition over two lines" src/mtf/a.h '#if defined(NDEBUG) || \\\n    !defined(__linux__)\n#endif' "src/mtf/a.h:2: system conditional"
row "elif" src/frame/server/a.h '#if 0\n#elif defined _MSC_VER\n#endif' "src/frame/server/a.h:2: system conditional"
row "catch-all" src/frame/server/a.cpp 'void g() { try {} catch( ... ) {} }' "src/frame/server/a.cpp:1: catch-all outside the boundary"
row "client: another part of index data" cli/a.cpp '#include "idxdata/browser/path_key.h"' "include of the client: idxdata/browser/path_key.h"
row "client: another layer" cli/scan/posix/a.cpp '#include "platform/files.h"' "include of the client: platform/files.h"
row "client: one system" cli/scan/a.cpp '#include "cli/scan/posix/a.h"' "cli/scan/a.cpp:1: include of one system"
row "client: unistd.h" cli/scan/a.cpp '#include <unistd.h>' "system header: unistd.h"
for folder in src cli; do
    valid_tree
    rm -rf "${tree:?}/$folder"
    expect "no $folder" "no sources in '$folder'"
done

exit $((failures > 0))
