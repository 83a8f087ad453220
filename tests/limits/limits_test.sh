#!/usr/bin/env bash
# Input at the limits and beyond: limits_test.sh SOURCE-DIRECTORY BUILD-DIRECTORY
#
# Each run has to end by itself with status 0 and say what is expected, in 256 MB of address space
# (programs and libraries included) and within a processor time that only a run which has lost its
# bounds comes near. Prints seconds and, where GNU time is installed, the peak of resident memory in
# MB. With an EMULATOR the program is one of Windows; its address space is not limited, as wine
# reserves terabytes.
set -euo pipefail
source=$(realpath "$1") build=$(realpath "$2")
readonly source build
program=$build/src/sourcetype
address_space=262144 # KiB
emulator=()
if [ -n "${EMULATOR:-}" ]; then
  program=$build/src/sourcetype.exe address_space=unlimited emulator=("$EMULATOR")
fi
readonly program address_space emulator
readonly processor_time=20    # seconds
readonly max_wait=300         # seconds, for a run that waits
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# repeat COUNT TEXT: the text so many times.
repeat() { perl -e 'print $ARGV[1] x $ARGV[0]' "$@"; }
# each COUNT CODE: Perl's CODE for 1, 2 … COUNT in $_.
each() { perl -e 'for (1 .. $ARGV[0]) { eval $ARGV[1] }' "$@"; }

# tree: goes to a new server directory as bundled: the models of one case know nothing of the others.
tree() {
  rm -rf "${work:?}/home"
  mkdir -p "$work/home/etc/system/local"
  cp -R "$source/etc" "$work/home/"
  cd "$work/home"
  props=etc/system/local/props.conf
}

# doubled: the same, with a log whose lines make costly patterns search for long.
lines=$(repeat 2000 $'2026-01-02 aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa!\n')
doubled() {
  tree
  echo "$lines" >doubled.log
}

# since BEGIN: the seconds from then to now.
since() { perl -e 'print $ARGV[1] - $ARGV[0]' "$1" "$EPOCHREALTIME"; }

# expect WHAT PATTERN WORD...: runs the tool with the words; a line of its output has to match.
expect() {
  local what=$1 pattern=$2 status=0 begin=$EPOCHREALTIME meter=()
  shift 2
  [ ! -x /usr/bin/time ] || meter=(/usr/bin/time -f %M -o "$work/peak")
  (
    ulimit -v $address_space -t $processor_time
    TARNEL_HOME=$work/home timeout $max_wait "${meter[@]}" "${emulator[@]}" "$program" "$@"
  ) >"$work/out" 2>"$work/err" <"${input:-/dev/null}" || status=$?
  printf '%-56s %6.2f s' "$what" "$(since "$begin")"
  [ ! -s "$work/peak" ] || printf '%6d MB' $(($(tail -n 1 "$work/peak") / 1024))
  echo
  if [ $status != 0 ] || ! grep -qE -- "$pattern" "$work/out"; then
    echo "FAILED: status $status, expected /$pattern/"
    head -c 2000 "$work/err" "$work/out"
    failures=$((failures + 1))
  fi
}

# told PATTERN [COUNT]: the last run has logged lines that match, COUNT of them if that is given.
told() {
  local count
  count=$(grep -cE -- "$1" "$work/err") || true
  [ "$count" -gt 0 ] && [ "$count" = "${2:-$count}" ] && return
  echo "FAILED: $count log records of /$1/, expected ${2:-some}"
  failures=$((failures + 1))
}

# --- Files ---

tree
truncate -s 1T sparse.log
expect 'a sparse file of 1 TB' 'invalid_cause -> binary' sparse.log
tree
repeat 20000000 x >one_line.log
expect 'one line of 20 MB' 'sourcetype -> one_line-too_small' one_line.log
tree
repeat 1000000 $'\n' >empty_lines.log
expect 'a million empty lines' 'sourcetype -> ' empty_lines.log
tree
repeat 20000 $'x\n' >short_lines.log
expect '20,000 lines of one byte' 'sourcetype -> short_lines' short_lines.log
tree
each 200000 'printf "%x,%d %s\n", $_ * 2654435761, $_, join " ", map { chr(97 + $_ * $_ % 26) x ($_ % 9) } $_ .. $_ + 9' >words.log
expect '200,000 lines, each unlike the others' 'sourcetype -> words' words.log
tree
each 2000000 'print "c$_,"' >columns.csv
repeat 200 $'\n1,2,3' >>columns.csv
expect 'a header of two million columns' 'sourcetype -> csv' columns.csv
tree
perl -e 'print join(",", map {"c$_"} 1 .. 20000), "\n"; print join(",", 1 .. 20000), "\n" for 1 .. 150' >wide.csv
expect '150 rows of 20,000 columns' 'sourcetype -> csv' wide.csv
tree
each 20000 'print "2026-01-02 03:04:05 " x 50, "\n"' >stamps.log
expect '20,000 lines of 50 timestamps' 'sourcetype -> stamps' stamps.log
tree
each 20000 'print "1234567890" x 90, "\n"' >digits.log
expect '20,000 lines of 900 digits' 'sourcetype -> digits' digits.log

tree
perl -e 'srand 1; print "---\n"; for (1 .. 20400) { print map({ chr(0xA1 + int rand 58) } 1 .. 980), "\n" }' >thai.log
printf '[source::thai.log]\nCHARSET = TIS-620\n' >$props
expect '20,400 lines of Thai, each unlike the others' 'sourcetype -> thai' thai.log

# Every charset on the same random bytes, in one process.
tree
perl -e 'srand 1; print pack "C*", map { int rand 256 } 1 .. 40000' >bytes
cut -d ' ' -f 1 "$source/tests/charset/charset_digests.txt" | grep -v '^#' | sort -u >charsets
while read -r charset; do
  ln -s bytes "bytes.$charset"
  printf '[source::bytes.%s]\nCHARSET = %s\nNO_BINARY_CHECK = true\n' "$charset" "$charset"
done <charsets >$props
ls bytes.* >names
input=names expect "random bytes as $(wc -l <names) charsets" 'Classified' manyfiles
grep -c '^Classified' "$work/out" | cmp - <(wc -l <names)

# --- Configuration ---

doubled
each 100000 'print "[source::/srv/*/app$_/....log]\nTZ = UTC\n"' >$props
expect 'props.conf of 100,000 pattern stanzas' 'sourcetype -> doubled' doubled.log
name=aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaadoubled.log
tree
echo "$lines" >$name
printf '[source::%s]\nTZ = UTC\n' '(a+)+b' '...(a|aa)+...(a+)*x' '.........*...*...*...*...b' >$props
expect 'catastrophic patterns in stanza names' 'sourcetype -> a+' $name
name=$(repeat 200 a)
tree
echo "$lines" >$name
each 200 'print "[source::...(a|aa)+...(a+)*[xy]+(?:$_|z)]\nTZ = UTC\n"' >$props
expect '200 costly stanza patterns' 'sourcetype -> a+' $name
told 'The stanza pattern \[.*\] costs too much' 20
told 'The stanza patterns cost too much: \[source::.*\] and those after it do not apply' 1
# Stays below the limits of a search on each line, as nothing counts what "\w+" runs over.
tree
each 1000 'print "a" x 16384, "\n"' >letters.log
printf '[rule::1]\nsourcetype = never\nMORE_THAN_50 = \\w+[!?]\n' >$props
expect 'a quadratic rule on lines of 16 kB' 'sourcetype -> letters' letters.log
told 'costs too much'
tree
each 1000 'print "a" x 9000, "\n"' >letters.log
each 60 'print "[rule::$_]\nsourcetype = never\nMORE_THAN_50 = \\w+[!?$_]\n"' >$props
expect '60 quadratic rules on lines of 9 kB' 'sourcetype -> letters' letters.log
told 'The expression .* costs too much on line 1' 20
told '40 more tests of rules cost too much on a line' 1
tree
each 1000 'print "an event without a time, number $_, of some usual length\n"' >events.log
each 10000 'print "[rule::$_]\nsourcetype = never\nMORE_THAN_50 = number \\d+ is $_\n"' >$props
expect '10,000 rules that match nothing' 'sourcetype -> events' events.log

doubled
truncate -s 1T $props
expect 'a sparse props.conf of 1 TB' 'sourcetype -> doubled' doubled.log
told 'Failed to open: .*[/\\]local[/\\]props.conf: File too large'
doubled
truncate -s 1T etc/datetime.xml
expect 'a sparse datetime.xml of 1 TB' 'sourcetype -> doubled' doubled.log
told 'longer than 1048576 bytes'

tree
repeat 20000000 x | sed 's/^/[s]\nk = /' >$props
expect 'a value of 20 MB' 'k -> xxx' settings s
each 300000 'print "[s$_]\nk = v\n"' >$props
expect 'a props.conf of 300,000 stanzas' 'k -> v' settings s7
each 200000 'print "[default]\nk$_ = v\n"' >$props
expect '200,000 settings for everything' 'k7 -> v' settings s7
each 600000 'print "$_=\n"' >$props
cp $props before.conf
echo "$lines" >doubled.log
expect '600,000 settings for everything' 'sourcetype -> doubled' doubled.log
told 'props.conf has more than 200000 settings in \[default\]: the last 400000' 1
told 'Cannot write stanza \[doubled\] .* it holds more settings or stanzas than are read' 1
cmp $props before.conf
each 5600000 'print "k$_=\n"' >$props
expect '5,600,000 settings for everything' 'k1 -> ' settings s7
told 'props.conf has more than 4000000 settings: line 4000001 and all after it' 1
each 5600000 'print "[$_]\n"' >$props
expect '5,600,000 stanzas' 'sourcetype -> s7' settings s7
told 'props.conf has more than 1000000 stanza headers: line 1000001 and all after it' 1
each 500000 'print "a\n"' >$props
expect '500,000 lines that are no settings' 'sourcetype -> s7' settings s7
told 'Cannot parse into key-value pair: a' 20
told 'Cannot parse into key-value pair: 499980 more lines like these' 1
each 100000 'print "k$_ = \\\n"' >$props
expect 'continued lines without end' 'sourcetype -> s7' settings s7

tree
repeat 200 $'5/6/26 at 07:08:09 something happened\n' >stamped.log
{ echo '<datetime>'; repeat 140000 '<a>'; repeat 140000 '</a>'; echo '</datetime>'; } >etc/datetime.xml
expect 'datetime.xml nested 140,000 deep' 'sourcetype -> stamped' stamped.log
tree
repeat 200 $'5/6/26 at 07:08:09 something happened\n' >stamped.log
{
  echo '<!DOCTYPE d [<!ENTITY e0 "eeeeeeeeee">'
  each 12 'print "<!ENTITY e$_ \"", "&e" . ($_ - 1) . ";" x 10, "\">\n"'
  each 12 'my $b = $_ - 1; print "<!ENTITY f$_ \"", ("&f$b;") x 10, "\">\n"'
  echo '<!ENTITY f0 "ffffffffff">]><datetime>&f12;&e12;</datetime>'
} >etc/datetime.xml
expect 'entities that grow to 10 TB' 'sourcetype -> stamped' stamped.log

tree
{ echo '[FILE_CLASSIFIER]'; printf 'INVALID_FILE__S_S = '; repeat 10000000 '%s'; echo; } >etc/system/local/literals.conf
expect 'a message of ten million placeholders' 'invalid_cause -> failed_stat' missing.log
printf '[FILE_CLASSIFIER]\nINVALID_FILE__S_S = %%999999999s %%.999999999f %%*d %%n %%2000000000$s\n' >etc/system/local/literals.conf
expect 'a message of huge fields' 'invalid_cause -> failed_stat' missing.log

tree
repeat 200 $'no model knows this\n' >unknown.log
mkdir -p etc/apps/learned/local
each 3000 'print "[m$_]\n_sourcetype = s$_\n", map({ "w$_$_ = 0.$_\n" } 1 .. 100), "L-x$_ = 1e308\n"' \
  >etc/apps/learned/local/sourcetypes.conf
expect '3,000 models with weights without bound' 'sourcetype -> ' unknown.log
printf '%s\n' 'log4cpp.rootCategory=DEBUG, A' 'a=${b}${b}' 'b=${a}${a}' 'appender.A=${a}' >etc/log-cmdline.cfg
expect 'logging settings that name each other' 'sourcetype -> ' unknown.log

tree
echo "$lines" >unknown.log
mkdir -p etc/apps/learned/local
each 4000 'print "[m$_]\n_sourcetype = s$_\n", map { "w$_ = 0.001\n" } 1 .. 999' \
  >etc/apps/learned/local/sourcetypes.conf
cp etc/apps/learned/local/sourcetypes.conf before.conf
expect '4,000 models of 1,000 settings, and one too many' 'Training on' unknown.log mine
told 'Cannot write stanza .* it holds more settings or stanzas than are read' 1
cmp etc/apps/learned/local/sourcetypes.conf before.conf

[ $failures = 0 ] || { echo "$failures failed"; exit 1; }
