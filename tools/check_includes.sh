#!/usr/bin/env bash
# Fails when a source file of src/ includes a header of src/ that it does not use.
#
#   tools/check_includes.sh BUILD-DIRECTORY
#
# Headers of libraries are not checked: include-what-you-use takes some of them for unused, since the
# standard library defines what they declare in headers of its own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
readonly build=$1

mapfile -t sources < <(git ls-files 'src/*.cpp' ':!src/*_windows.cpp')
# It ends with a status other than 0 for any advice, and most of its advice is not asked for.
report=$(iwyu_tool -j "$(nproc)" -p "$build" "${sources[@]}" -- \
  -Xiwyu --no_fwd_decls -Xiwyu --quoted_includes_first 2>/dev/null || true)
if ! grep -q 'has correct #includes\|should add these lines' <<<"$report"; then
  echo 'check_includes: include-what-you-use has examined no file' >&2
  exit 2
fi
unused=$(awk -v root="$PWD/" '
  / should (add|remove) these lines:$/ { sub(root, ""); file = $1; removes = /should remove/ }
  removes && /^- #include "/ { print file ": " $3 " is not used" }' <<<"$report" | sort -u)
[ -z "$unused" ] || { echo "$unused" >&2; exit 1; }
