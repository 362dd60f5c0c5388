#!/usr/bin/env bash
# Installs the build, moves the installed tree, and builds and runs a client with it, through
# the CMake package and through pkg-config.
#
# Usage: install_test.sh CMAKE GENERATOR BUILD-FOLDER C++-COMPILER
set -euo pipefail

cmake=$1 generator=$2 build=$3 compiler=$4
sources=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

"$cmake" --install "$build" --prefix "$folder/staged" >"$folder/log" ||
    { cat "$folder/log"; exit 1; }
mv "$folder/staged" "$folder/prefix"
if grep -rlI -e "$build" -e "$folder/staged" "$folder/prefix"; then
    echo "these installed files contain the path of the build or of the first installation"
    exit 1
fi

echo "-- through the CMake package"
"$cmake" -G "$generator" -S "$sources" -B "$folder/consumer" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$folder/prefix" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF >"$folder/log" ||
    { cat "$folder/log"; exit 1; }
"$cmake" --build "$folder/consumer"
"$folder/consumer/consumer"

echo "-- through pkg-config"
package=$(find "$folder/prefix" -name ZorelOibIdxLib.pc)
PKG_CONFIG_PATH=$(dirname "$package")
export PKG_CONFIG_PATH
libdir=$(pkg-config --variable=libdir ZorelOibIdxLib)
read -ra flags <<<"$(pkg-config --cflags --libs ZorelOibIdxLib)"
echo '#include <ZorelOibIdxLib.h>' >"$folder/client.c"
if "$compiler" -x c "${flags[@]}" -fsyntax-only "$folder/client.c" 2>"$folder/log" ||
    ! grep -q 'headers of ZorelOibIdxLib are C++17' "$folder/log"; then
    echo "a program in C is not refused with a reason: $(cat "$folder/log")"
    exit 1
fi
"$compiler" -std=c++17 "$sources/consumer.cpp" -o "$folder/by_hand" "${flags[@]}"
LD_LIBRARY_PATH=$libdir "$folder/by_hand"
