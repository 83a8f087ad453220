#!/usr/bin/env bash
# Checks that rules do not recognise texts that are not logs:
#   check_other_texts.sh BUILD-DIRECTORY [DIRECTORY]...
#
# The texts are those of at least 100 lines below the directories: by default the documents, manuals,
# source code, tables and pictures of a Debian system, and this repository. Prints each text that gets
# the sourcetype of a bundled rule, and how many texts there were. Ends with 1 if any did.
# General forms, which are tried last, are not among these rules.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
program=$(cd "$1" && pwd)/src/sourcetype
shift
[ $# -gt 0 ] || set -- /usr/share /usr/include /usr/lib/python3 /usr/lib/python3.11 /etc \
  "$root/src" "$root/docs" "$root/tests" "$root/tools"
readonly root program max_texts=4000 min_lines=100 max_bytes=1000000

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$root/etc" "$work/etc"
mkdir "$work/texts"
sed -n 's/^sourcetype = //p' "$root"/etc/apps/bundled-*/default/props.conf | sort -u >"$work/bundled"

# A name of its own for each text, so that no path decides: its number.
find "$@" -type f -size +3k -size -"$max_bytes"c ! -path '*/tests/formats/*' 2>/dev/null |
  LC_ALL=C sort |
  awk -v max=$max_texts '{ lines[NR] = $0 }
    END { step = NR > max ? NR / max : 1; for (i = 1; i <= NR; i += step) print lines[int(i)] }' \
    >"$work/files"
number=0
while IFS= read -r file; do
  number=$((number + 1))
  text=$work/texts/$number
  case $file in
    *.gz) gzip -dc "$file" >"$text" 2>/dev/null || true ;;
    *) cp "$file" "$text" ;;
  esac
  if ! grep -Iq . "$text" || [ "$(wc -l <"$text")" -lt $min_lines ]; then
    rm -f "$text"
  fi
done <"$work/files"

find "$work/texts" -type f | TARNEL_HOME=$work "$program" manyfiles 2>/dev/null |
  awk -v files="$work/files" -v bundled="$work/bundled" '
    BEGIN {
      while ((getline line < bundled) > 0) is_bundled[line]
      while ((getline line < files) > 0) name[++count] = line
    }
    $1 != "Classified" { next }
    { ++texts; number = $2; sub(".*/", "", number) }
    $3 in is_bundled { print name[number] ": " $3; ++wrong }
    END {
      printf "%d texts, %d of them with the name of a log\n", texts, wrong
      exit wrong > 0 || texts == 0
    }'
