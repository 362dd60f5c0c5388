#!/usr/bin/env bash
# Reads every source of the library and prints each violation of the layer order: an include
# of a later layer, a system header or a system conditional outside the folders posix/ and
# win32/, and a second `catch (...)`. Fails when it prints anything or finds no source.
#
# Usage: check_layers.sh SRC-FOLDER
set -euo pipefail

src=${1:?the folder with the layers}
files=()
if [[ -d $src ]]; then
    mapfile -t files < <(cd "$src" && find . -type f \( -name '*.h' -o -name '*.cpp' \) -printf '%P\n' | sort)
fi
if ((${#files[@]} == 0)); then
    echo "no sources in '$src'"
    exit 1
fi

cd "$src"
awk '
BEGIN {
    count = split("text platform automation frame idxdata mtf tdf frame/server", names, " ")
    for (i = 1; i <= count; ++i) rank[names[i]] = i
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
function check_include(target, quoted,    layer) {
    if (!quoted) {
        if (!for_system && target ~ /[.\/]/ && target !~ /^[a-z]+intrin\.h$/) report("system header", target)
        return
    }
    if (target !~ /\//) {
        if (target !~ /^Zorel[A-Za-z]*\.h$/) report("include without a layer", target)
        return
    }
    layer = layer_of(target)
    if (!(layer in rank)) {
        report("include of no layer", target)
    } else if (rank[layer] > rank[here]) {
        report("include of a later layer", target)
    } else if (target ~ /\/(posix|win32)\// && !for_system) {
        report("include of one system", target)
    }
}

FNR == 1 {
    here = layer_of(FILENAME)
    for_system = FILENAME ~ /^(platform|automation)\/(posix|win32)\//
    if (!(here in rank)) report("source outside the layers", FILENAME)
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
line ~ /catch[ \t]*\([ \t]*\.\.\.[ \t]*\)/ && ++catches > 1 {
    report("another catch-all", line)
}
END { exit faults > 0 }
' "${files[@]}"
