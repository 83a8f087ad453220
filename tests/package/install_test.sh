#!/usr/bin/env bash
# What `cmake --install` puts below a prefix works from there: the tool with its configuration, and
# the library in a program that finds it with find_package().
#
#   install_test.sh BUILD_DIRECTORY CXX_COMPILER [CXX_FLAGS]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
readonly source=$here/../..
readonly build=$1 compiler=$2 flags=${3:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly prefix=$work/prefix

expect() { # expect WANTED GOT
  [ "$1" = "$2" ] || { printf 'expected: %s\ngot:      %s\n' "$1" "$2" >&2; exit 1; }
}

cmake --install "$build" --prefix "$prefix" >"$work/log"
export TARNEL_HOME=$prefix/etc/sourcetype
# A run in the source tree may have left the first three there.
diff -r -x local -x learned -x log-cmdline-local.cfg "$source/etc" "$TARNEL_HOME/etc"
"$source/tools/check_links.pl" "$prefix/share/doc/sourcetype" >"$work/log" || { cat "$work/log" >&2; exit 1; }

for i in {10..59}; do
  printf '2024-03-01 10:00:%d status installed lib%d:amd64 1.0-%d\n' "$i" "$i" "$i"
  printf '2024-03-01 10:00:%d configure lib%d:amd64 1.0-%d <none>\n' "$i" "$i" "$i"
done >"$work/packages.log"

expect $'\tsourcetype -> os_dpkg' \
  "$("$prefix/bin/sourcetype" "$work/packages.log" 2>"$work/log" | grep 'sourcetype ->')"

cmake -G Ninja -S "$source/examples/classify" -B "$work/classify" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS="$flags" >"$work/log"
cmake --build "$work/classify" >"$work/log" || { cat "$work/log" >&2; exit 1; }
expect $'packages.log\tos_dpkg\nnone.log\tfailed_stat' \
  "$(cd "$work" && classify/classify packages.log none.log)"
# A program that starts quietly does not name its logging configuration.
expect '' "$(cd "$work" && classify/classify packages.log 2>&1 | grep 'Using logging')"
