#!/bin/sh
# Runs a Windows program under wine, in a wine directory of this project's own. Without a UTF-8
# locale wine would mangle every argument that is not ASCII.
: "${WINEPREFIX:=${XDG_CACHE_HOME:-$HOME/.cache}/sourcetype-windows/wine}"
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LC_ALL=C.UTF-8
mkdir -p "$WINEPREFIX"
exec wine "$@"
