#!/usr/bin/env bash
# Runs client.js under the script host and checks for the last line of its output: the host
# reports failures neither in its output nor in its exit code. The script's argument is a new
# empty folder, ending with a backslash.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# The host parses a path that begins with a slash as a switch.
cd "$(dirname "$0")"
output=$(timeout 120 wine cscript.exe //nologo client.js "$(winepath -w "$folder")\\" </dev/null \
    2>/dev/null | tr -d '\r') || { echo "the script ends with $?: $output"; exit 1; }
printf '%s\n' "$output"
grep -qxF "all steps passed" <<<"$output"
