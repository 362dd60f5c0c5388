#!/usr/bin/env bash
# Runs a script under the script host and checks for the last line of its output, "NAME: all
# steps passed": the host reports failures neither in its output nor in its exit code. The
# script's arguments are a new empty folder, ending with a backslash, and the given files.
#
# Usage: run_script.sh SCRIPT [FILE...]
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
arguments=("$(winepath -w "$folder")\\")
for file in "${@:2}"; do
    arguments+=("$(winepath -w "$file")")
done
# The host parses a path that begins with a slash as a switch.
cd "$(dirname "$1")"
name=$(basename "$1")
output=$(timeout 120 wine cscript.exe //nologo "$name" "${arguments[@]}" </dev/null 2>/dev/null |
    tr -d '\r') || { echo "the script ends with $?: $output"; exit 1; }
printf '%s\n' "$output"
grep -qxF -- "$name: all steps passed" <<<"$output"
