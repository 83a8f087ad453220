#!/usr/bin/env bash
# Runs the recipes of docs/many-files.md as they stand there, with other places for /var/log, hosts
# and configuration: many_files_test.sh SOURCE-DIRECTORY BUILD-DIRECTORY
set -euo pipefail
readonly source=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/home" "$work/logs"
cp -R "$source/etc" "$work/home/"
export TARNEL_HOME=$work/home PATH=$build/src:$PATH PARALLEL_HOME=$work
touch "$work/will-cite"
"$build/tools/sample_logs" "$source/tests/formats/logs" "$work/logs" >/dev/null
rm "$work"/logs/*.events "$work"/logs/*.times
printf 'one\n' >"$work/logs/small.log"
cd "$work"

# recipe N: the N-th command of the page.
recipe() {
  awk -v wanted="$1" '
    /^    / && !inside { ++block; inside = 1 }
    !/^    / { inside = 0 }
    inside && block == wanted' "$source/docs/many-files.md" |
    sed -e "s,/var/log,$work/logs,; s,web1\,web2\,db1,:,; s,/etc/sourcetype,$TARNEL_HOME,; s,-N 500,-N 7,"
}

find "$work/logs" -type f | sourcetype manyfiles 2>/dev/null | sed -n 's/^Classified\t//p' >serial.tsv
grep -q '/os_dpkg.log	os_dpkg$' serial.tsv
grep -q '/small.log	small-too_small$' serial.tsv

eval "$(recipe 2)"
diff serial.tsv types.tsv
eval "$(recipe 3)"
sed 's/^/:\t/' serial.tsv | diff - types.tsv
