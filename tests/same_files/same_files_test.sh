#!/usr/bin/env bash
# Runs the same program with the module of this system and with the Windows module, and
# compares the files that they write, byte for byte.
#
# Usage: same_files_test.sh WRITE_FILES WRITE_FILES_EXE
set -euo pipefail
own=$1 windows=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/own" "$folder/windows"

[[ $("$own" "$folder/own") == "write_files: done" ]]
output=$(timeout 300 wine "$windows" "$(winepath -w "$folder/windows")" | tr -d '\r')
[[ $output == "write_files: done" ]]

files=$(cd "$folder/own" && find . -type f | wc -l)
((files > 20)) || { echo "only $files files were written" >&2; exit 1; }
diff -r "$folder/own" "$folder/windows"
echo "$files files are the same"
