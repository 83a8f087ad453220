#!/usr/bin/env bash
# Fails when a source file of src/ includes a header of src/ that it does not use.
#
#   tools/check_includes.sh UNITY-BUILD BUILD
#
# Reading UNITY-BUILD takes a fifth of the time, but there a header also counts as unused if the
# source that defines what it declares is in the same unit. What is found so is looked at again in
# BUILD, which compiles each source alone.
#
# Headers of libraries are not checked: include-what-you-use takes some of them for unused, since the
# standard library defines what they declare in headers of its own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
readonly unity_build=$1 plain_build=$2

# examine BUILD OPTION... -- FILE...: prints a line "FILE: HEADER is not used" for each finding.
examine() {
  local build=$1 options=() report
  shift
  for (( ; ; )); do
    [ "$1" = -- ] && shift && break
    options+=(-Xiwyu "$1")
    shift
  done
  # It ends with a status other than 0 for any advice, and most of its advice is not asked for.
  report=$(iwyu_tool -j "$(nproc)" -p "$build" "$@" -- -Wno-unknown-warning-option \
    -Xiwyu --no_fwd_decls -Xiwyu --quoted_includes_first "${options[@]}" 2>&1 || true)
  if ! grep -q 'has correct #includes\|should add these lines' <<<"$report" ||
    grep -A 3 ' error: ' <<<"$report" >&2; then
    echo 'check_includes: include-what-you-use has not examined all files' >&2
    return 2
  fi
  awk -v root="$PWD/" '
    / should (add|remove) these lines:$/ { sub(root, ""); file = $1; removes = /should remove/ }
    removes && /^- #include "/ { print file ": " $3 " is not used" }' <<<"$report" | sort -u
}

mapfile -t units < <(find "$PWD/$unity_build/src" -name 'unity_*.cxx')
suspects=$(examine "$unity_build" '--check_also=*/src/*' -- "${units[@]}")
mapfile -t sources < <(sed -E 's/\.(cpp|h): .*/.cpp/' <<<"$suspects" | sort -u)
mapfile -t sources < <(git ls-files -- "${sources[@]}")
found=$(examine "$plain_build" -- "${sources[@]}")
[ -z "$found" ] || { echo "$found" >&2; exit 1; }
