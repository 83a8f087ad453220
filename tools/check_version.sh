#!/usr/bin/env bash
# Fails where a copy of the version is not that of the project() command in CMakeLists.txt, which is
# passed as VERSION or read from there.
#
#   check_version.sh [VERSION]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

version=${1:-$(sed -nE 's/^project\(sourcetype VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)}
bad=0

# same FILE WANTED EXPRESSION: what the first line that sed's EXPRESSION prints must be.
same() {
  local found
  found=$(sed -nE "$3" "$1" | head -n 1)
  [ "$found" = "$2" ] && return
  printf 'check_version: %s says "%s" where the project says "%s"\n' "$1" "$found" "$2" >&2
  bad=1
}

same CHANGELOG.md "$version" 's/^## ([0-9.]+).*/\1/p'
same src/platform/sourcetype.manifest "$version.0" 's/.*name="sourcetype" version="([^"]*)".*/\1/p'
[ "$bad" = 0 ]
