#!/usr/bin/env bash
# Reads every source in src/ and cli/ and prints each violation of these rules:
# - A layer of src/ includes itself and earlier layers only.
# - cli/ includes the public headers, the records and streams of index data, the rules for lines of
#   text data files, and its own files.
# - System headers and conditionals on a system are in folders posix/ and win32/ only; other
#   sources do not include files of these folders.
# - Only frame/objects/boundary.cpp has `catch (...)`.
# Fails when it prints anything, or when a folder has no source.
# Usage: check_layers.sh FOLDER-OF-SRC-AND-CLI
set -euo pipefail

cd "${1:?the folder that contains src and cli}"
files=()
for folder in src cli; do
    mapfile -t found < <(find "$folder" -type f \( -name '*.h' -o -name '*.cpp' \) | sort)
    ((${#found[@]} > 0)) || { echo "no sources in '$folder'"; exit 1; }
    files+=("${found[@]}")
done

awk '
BEGIN {
    count = split("text platform automation frame idxdata mtf tdf frame/server", names, " ")
    for (i = 1; i <= count; ++i) rank[names[i]] = i
    for_client = "^(cli/.*|idxdata/(streams|tables)/.*|frame/errors\\.h|text/unicode_text\\.h|" \
        "tdf/generation/folder_texts\\.h)$"
    systems = "(^|[^A-Za-z0-9_])(_?WIN32|_WIN64|WINVER|__linux(__)?|linux|__gnu_linux__|__unix(__)?|unix|" \
        "__APPLE__|__MACH__|__CYGWIN__|__MINGW32__|__MINGW64__|_MSC_VER|__FreeBSD__|__ANDROID__|__has_include)" \
        "([^A-Za-z0-9_]|$)"
}

function report(rule, what) {
    printf "%s:%d: %s: %s\n", FILENAME, FNR, rule, what
    ++faults
}

function layer_of(path) {
    if (path ~ /^frame\/server\//) return "frame/server"
    sub(/\/.*/, "", path)
    return path
}

# `target` is the include as written; `quoted` is true for quotation marks.
function check_include(target, quoted,    allowed) {
    if (!quoted) {
        allowed = here == "cli" ? "^CLI/" : "^[a-z]+intrin\\.h$"
        if (!for_system && target ~ /[.\/]/ && target !~ allowed) report("system header", target)
    } else if (target !~ /\//) {
        if (target !~ /^Zorel[A-Za-z]*\.h$/) report("include without a layer", target)
    } else if (here == "cli" && target !~ for_client) {
        report("include of the client", target)
    } else if (here != "cli" && !(layer_of(target) in rank)) {
        report("include of no layer", target)
    } else if (here != "cli" && rank[layer_of(target)] > rank[here]) {
        report("include of a later layer", target)
    } else if (target ~ /\/(posix|win32)\// && !for_system) {
        report("include of one system", target)
    }
}

FNR == 1 {
    path = FILENAME
    here = sub(/^src\//, "", path) ? layer_of(path) : "cli"
    for_system = path ~ /^(platform|automation|cli|cli\/.*)\/(posix|win32)\//
    if (here != "cli" && !(here in rank)) report("source outside the layers", FILENAME)
    pending = ""
}
{
    line = pending $0
    pending = ""
    if (sub(/\\$/, "", line)) {
        pending = line
        next
    }
    sub(/\/\/.*/, "", line)
}
line ~ /^[ \t]*#[ \t]*include[ \t]*[<"]/ {
    target = line
    sub(/^[ \t]*#[ \t]*include[ \t]*/, "", target)
    quoted = substr(target, 1, 1) == "\""
    target = substr(target, 2)
    sub(/[">].*/, "", target)
    check_include(target, quoted)
    next
}
line ~ /^[ \t]*#[ \t]*(if|ifdef|ifndef|elif)([^A-Za-z_]|$)/ && !for_system && line ~ systems {
    report("system conditional", line)
}
line ~ /catch[ \t]*\([ \t]*\.\.\.[ \t]*\)/ && FILENAME != "src/frame/objects/boundary.cpp" {
    report("catch-all outside the boundary", line)
}
END { exit faults > 0 }
' "${files[@]}"
