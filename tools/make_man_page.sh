#!/usr/bin/env bash
# Makes a man page of Markdown: tools/make_man_page.sh PAGE.md VERSION DATE OUTPUT.gz
# Name and section come from the name of the file.
set -euo pipefail

page=$(basename "$1" .md)
name=${page%.*}
section=${page##*.}
volume='User Commands'
[ "$section" = 1 ] || volume='File Formats'

# Options and keys are to be found and copied as they are written: no word is hyphenated, and "-" and
# "'" are the characters that are typed. What the converter moves up a line, to close the gaps in
# lists, is written in the macros that are there for it: moving up fails where a page of the output
# grows.
lowdown -s -Tman --out-no-smarty -M "title=${name^^}" -M "section=$section" \
  -M "date=$3" -M "source=sourcetype $2" -M "volume=$volume" "$1" |
  awk '
    !/^[.]/ { gsub(/-/, "\\-"); gsub(/\047/, "\\(aq") }
    { line[NR] = $0 }
    function goesUp(i) { return line[i] == ".if n \\" && line[i + 4] ~ /^[.]IP/ }
    END {
      for (i = 1; i <= NR; ++i) {
        if (line[i] == ".LP" && goesUp(i + 2)) {
          print ".TP 5\n" line[i + 1]
          i += 6
        } else if (goesUp(i)) {
          i += 4
          print ".PD 0\n" line[i] "\n.PD"
        } else if (line[i] == ".EX") {
          print ".RS 4\n.EX"
        } else if (line[i] == ".EE") {
          print ".EE\n.RE"
        } else if (line[i] ~ /^[.]TH /) {
          print line[i] "\n.nr HY 0\n.nh\n.ad l"
        } else {
          print line[i]
        }
      }
    }' |
  gzip -9n >"$4"
