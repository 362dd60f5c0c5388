#!/usr/bin/env bash
# Starts or stops Wine's server for the prefix $WINEPREFIX.
#
# Usage: wine.sh start|stop
set -euo pipefail
: "${WINEPREFIX:?}"

case ${1-} in
    start)
        # The server and its children keep their standard streams open: the reader of a pipe
        # would wait until the server ends.
        mkdir -p "$WINEPREFIX"
        wineserver -p </dev/null >/dev/null 2>&1 || true # fails when one runs already
        wineboot -i </dev/null >/dev/null 2>&1
        [[ -d $WINEPREFIX/drive_c/windows ]] || { echo "wine.sh: no prefix in $WINEPREFIX" >&2; exit 1; }
        ;;
    stop)
        wineserver -k || true # fails when none runs
        ;;
esac
