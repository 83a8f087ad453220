#!/bin/sh
# Runs a Windows program under wine, in a wine directory of this project's own. Without a UTF-8
# locale wine would mangle every argument that is not ASCII.
: "${WINEPREFIX:=${XDG_CACHE_HOME:-$HOME/.cache}/sourcetype-windows/wine}"
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LC_ALL=C.UTF-8
mkdir -p "$WINEPREFIX"
# At random addresses the loader's heap begins anywhere in the GiB above 0x7d005000, and about one
# process in 2,500 then finds it at 0x7ffe0000, where Windows has its shared page, and dies at once.
if setarch -R true 2>/dev/null; then
  exec setarch -R wine "$@"
fi
exec wine "$@"
