#!/usr/bin/env bash
# Runs a Windows program under Wine, without a display, in a Wine folder of its own.
#
#   tools/wine.sh PROGRAM ARGUMENTS...
#   tools/wine.sh                      ends what Wine still runs in the background
#
# The folder, build-windows/wine, is made at the first call (5 s); calls side by side wait for it.
set -euo pipefail
BUILD=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build-windows

export WINEPREFIX=$BUILD/wine WINEDEBUG=-all
export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=;winedbg.exe='
export HOME=$WINEPREFIX # nothing of the user's own is linked into it
export LC_ALL=C.UTF-8   # names of files are UTF-8
unset DISPLAY WAYLAND_DISPLAY
if [[ $# -eq 0 ]]; then
    wineserver -k || true # where nothing runs that is an error
    wineserver -w
    exit
fi
if [[ ! -e $WINEPREFIX/ready ]]; then
    mkdir -p "$WINEPREFIX"
    {
        flock 9
        if [[ ! -e $WINEPREFIX/ready ]]; then
            wineboot --init 9>&- >"$BUILD/wine.log" 2>&1
            wineserver -w 9>&-
            touch "$WINEPREFIX/ready"
        fi
    } 9>"$BUILD/wine.lock"
fi
exec wine "$@"
