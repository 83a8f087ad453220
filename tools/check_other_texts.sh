#!/usr/bin/env bash
# Classifies texts of this machine that are no logs: check_other_texts.sh BUILD-DIRECTORY [DIRECTORY]...
#
# Each text of at least 100 lines below the directories (or compressed documents and source code of a
# Debian system) is classified alone, in a fresh copy of etc/. Prints each that gets the sourcetype of
# a bundled format, and then how many texts there were and how many of them got one. Ends with 1 if
# any did. Files with columns or with an object of JSON in each line may get one of the names for these
# forms; they are not counted.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
program=$(cd "$1" && pwd)/src/sourcetype
shift
[ $# -gt 0 ] || set -- /usr/share/doc /usr/share/man /usr/share/perl /usr/share/perl5 /usr/lib/python3 \
  /usr/lib/python3.11 /usr/include /usr/share/cmake* /usr/share/icons /usr/share/mime /usr/share/X11 \
  /usr/share/zoneinfo /usr/share/common-licenses /etc "$root/src" "$root/docs" "$root/tests"
readonly root program max_texts=4000 min_lines=100 max_bytes=2000000

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed -n 's/^sourcetype = //p' "$root"/etc/apps/*/default/props.conf | sort -u >"$work/bundled"

# classify FILE: a line for a text, "FILE SOURCETYPE" with a tab between them.
classify() {
  local file=$1 home name text
  home=$(mktemp -d "$work/XXXXXX")
  name=$(basename "$file" .gz)
  text=$home/$name
  case $file in
    *.gz) gzip -dc "$file" 2>/dev/null || true ;;
    *) cat "$file" ;;
  esac | head -c "$max_bytes" >"$text"
  if grep -Iq . "$text" && [ "$(wc -l <"$text")" -ge "$min_lines" ]; then
    cp -r "$root/etc" "$home/etc"
    TARNEL_HOME=$home "$program" "$text" 2>/dev/null |
      sed -n "s|^\tsourcetype -> \(.*\)|$file\t\1|p"
  fi
  rm -r "$home"
}
export -f classify
export root program work min_lines max_bytes

find "$@" -type f -size -"$max_bytes"c -size +1k 2>/dev/null | LC_ALL=C sort |
  awk -v max=$max_texts '{ lines[NR] = $0 }
    END { step = NR > max ? NR / max : 1; for (i = 1; i <= NR; i += step) print lines[int(i)] }' |
  tr '\n' '\0' | xargs -0 -P "$(nproc)" -I{} bash -c 'classify "$1"' - {} >"$work/answers"

awk -F'\t' 'NR == FNR { bundled[$1]; next } $2 in bundled { print; if ($2 !~ /^(lines|columns)_/) ++wrong }
  END { printf "%d texts, %d with the name of a format of logs\n", FNR, wrong; exit wrong > 0 }' \
  "$work/bundled" "$work/answers"
