#!/usr/bin/env bash
# Creates a small folder, writes its catalogue with the command-line client, and runs the C
# client on the catalogue.
#
# Usage: abi_test.sh OIBIDX MODULE ABI-CLIENT...      (the client's command may have a prefix)
set -euo pipefail

oibidx=$1 module=$2 client=("${@:3}")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

cd "$folder"
mkdir -p tree/Docs tree/beta
printf '%3s' a >tree/a.txt
printf '%5s' B >tree/B.log
printf '%11s' old >tree/Docs/old.txt
find tree -type f -exec touch -d '2013-01-15 09:05:07 UTC' {} +

"$oibidx" scan tree -o catalogue
"${client[@]}" "$module"
