#!/usr/bin/env bash
# Installs the missing Debian packages for one or more purposes.
#
# Usage: scripts/setup.sh PURPOSE...
#   build    the module and the command-line client
#   test     in addition, the tests
#   windows  the cross-build for Windows and its tests
#   arm64    what the cross-build for 64-bit ARM and its tests need on top of test
#   bench    in addition to build, the benchmarks
#   compare  the programs that bench/compare runs beside the client
#   lint     the formatter and the static analyser
#   fuzz     in addition to build and test, the compiler with libFuzzer
# Does nothing, and needs no privileges, if everything is installed.
set -euo pipefail

declare -A packages=(
    [build]="g++ cmake ninja-build libcli11-dev"
    [test]="libgtest-dev libgmock-dev binutils dpkg-dev file clang-format lintian mypy
        pkg-config python3 python3-jsonschema python3-pip python3-setuptools
        python3-wheel"
    [windows]="cmake ninja-build mingw-w64 g++-mingw-w64-x86-64-posix mingw-w64-tools wine
        wine64 wine64-tools libwine-dev googletest python3"
    [arm64]="g++-aarch64-linux-gnu qemu-user googletest"
    [bench]="libbenchmark-dev libglib2.0-dev pkg-config"
    [compare]="plocate sqlite3 ripgrep python3"
    [lint]="clang clang-format clang-tidy"
    [fuzz]="clang"
)

fail() {
    echo "setup: $*" >&2
    exit 1
}

# missing_of PACKAGE...: prints the packages that are not installed.
missing_of() {
    local package
    for package in "$@"; do
        if [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
            echo "$package"
        fi
    done
}

(($# > 0)) || fail "give a purpose: ${!packages[*]}"
command -v dpkg-query >/dev/null ||
    fail "this is not Debian; install the equivalents of: ${packages[*]}"

wanted=()
for purpose in "$@"; do
    [[ -n ${packages[$purpose]-} ]] || fail "unknown purpose '$purpose'; one of: ${!packages[*]}"
    read -r -d '' -a names <<<"${packages[$purpose]}" || true
    wanted+=("${names[@]}")
done
mapfile -t missing < <(missing_of "${wanted[@]}")
((${#missing[@]} > 0)) || exit 0

as_root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null ||
        fail "missing packages, and neither root nor sudo to install them: ${missing[*]}"
    as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq -y --no-install-recommends "${missing[@]}" >/dev/null ||
    fail "apt-get could not install: ${missing[*]}"
