#!/usr/bin/env bash
# Runs a script under the script host and checks for the last line of its output: the host
# reports failures neither in its output nor in its exit code.
#
# Usage: run_script.sh SENTINEL SCRIPT [ARGUMENT...]
# Arguments are paths of this system; FOLDER is replaced by a new empty folder.
set -euo pipefail
sentinel=$1
script=$2
shift 2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
arguments=()
for argument in "$@"; do
    if [[ $argument == FOLDER ]]; then
        arguments+=("$(winepath -w "$folder")\\")
    else
        arguments+=("$(winepath -w "$argument")")
    fi
done
# The host parses a path that begins with a slash as a switch.
cd "$(dirname "$script")"
status=0
output=$(timeout 120 wine cscript.exe //nologo "$(basename "$script")" "${arguments[@]}" \
    </dev/null 2>/dev/null | tr -d '\r') || status=$?
printf '%s\n' "$output"
((status == 0)) || {
    echo "the script ends with $status"
    exit 1
}
grep -qxF -- "$sentinel" <<<"$output"
