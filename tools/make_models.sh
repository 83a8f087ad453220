#!/usr/bin/env bash
# Makes the models that ship: make_models.sh [--check] BUILD-DIRECTORY
#
# Each log of tests/formats/logs is written anew and learned by the built program, in a tree
# without other models. The stanzas replace those of etc/system/default/sourcetypes.conf, or are
# compared with them. They are the same on every machine.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
check=
if [ "$1" = --check ]; then
  check=1
  shift
fi
build=$(cd "$1" && pwd)
readonly root check build
readonly shipped=$root/etc/system/default/sourcetypes.conf

# Events a log; a model is made of a thousand lines at most.
readonly events=400
# The farthest that the words of a file may be from those of one of these models. They are of made-up
# texts, and are there so that words which many logs have count little: they are not to claim what
# only resembles them. A file without any word is 5 to 10 away from the closest of them.
readonly max_dist=3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/samples" "$work/etc/system/default"
cp "$root/etc/system/default/source-classifier.conf" "$work/etc/system/default/"
cd "$work"
"$build/tools/sample_logs" "$root/tests/formats/logs" samples $events | LC_ALL=C sort >index

sed '/^\[/,$d' "$shipped" >models
separator=
while IFS=$'\t' read -r name sourcetype _; do
  mv "samples/$name.log" "samples/$name"
  TARNEL_HOME=$work "$build/src/sourcetype" "samples/$name" "$sourcetype" >/dev/null 2>err
  printf '%s' "$separator" >>models
  awk -v name="samples/$name" -v max_dist=$max_dist '
    /^\[/ { if (++stanzas > 1) exit; print "[" name "]\nmaxDist = " max_dist; next }
    NF' etc/apps/learned/local/sourcetypes.conf >>models
  separator=$'\n'
  rm -r etc/apps
done <index

if [ -n "$check" ]; then
  cmp models "$shipped"
else
  cp models "$shipped"
fi
