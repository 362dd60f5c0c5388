#!/usr/bin/env bash
# Runs a script under the script host and looks for the line that it ends with: the host
# tells of failures neither by text nor by its exit code.
#
# Usage: run_script.sh SENTINEL SCRIPT [ARGUMENT...]     (paths of this system)
set -euo pipefail
sentinel=$1
script=$2
shift 2
arguments=()
for argument in "$@"; do
    case $argument in
        /*) arguments+=("$(winepath -w "$argument")") ;;
        *) arguments+=("$argument") ;;
    esac
done
# The host takes a path that begins with a slash for a switch.
cd "$(dirname "$script")"
output=$(timeout 120 wine cscript.exe //nologo "$(basename "$script")" "${arguments[@]}" |
    tr -d '\r')
printf '%s\n' "$output"
grep -qxF -- "$sentinel" <<<"$output"
