#!/usr/bin/env bash
# Makes a small folder, lets the command-line client write its catalogue, and runs the C
# client on it.
#
# Usage: abi_test.sh OIBIDX MODULE ABI-CLIENT...      (the client's command may have a prefix)
set -euo pipefail

oibidx=$1 module=$2 client=("${@:3}")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

cd "$folder"
mkdir -p tree/Docs/2019 tree/beta tree/zeta
printf '%3s' a >tree/a.txt
printf '%5s' B >tree/B.log
printf '%7s' report >tree/Docs/report.txt
printf '%11s' old >tree/Docs/2019/old.txt
printf '%13s' photo >tree/Docs/2019/photo.jpg
find tree -type f -exec touch -d '2013-01-15 09:05:07 UTC' {} +

"$oibidx" scan tree -o catalogue
"${client[@]}" "$module" "$folder"
