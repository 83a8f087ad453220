#!/usr/bin/env bash
# Runs the commands that a page shows with "$ " and compares what they print with what it shows:
# pages_test.sh SOURCE-DIRECTORY BUILD-DIRECTORY [PAGE]
set -euo pipefail
readonly source=$1 build=$2 page=${3:-README.md}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -R "$source/etc" "$source/samples" "$work/"
cd "$work"
mkdir -p build/release/src
ln -s "$build/src/sourcetype-inspect" build/release/src/

# What ./dev run does when all is built.
./dev() {
  mkdir -p build/home
  cp -R etc build/home/
  shift
  TARNEL_HOME=build/home "$build/src/sourcetype" "${@:-samples/dispatch.log}" 2>/dev/null
}

run() {
  case $1 in
    *' /var/'*) [ -r "${1##* }" ] || return 0 ;; # not on every system
  esac
  {
    printf '$ %s\n' "$1"
    eval "$1"
  } >>printed
  cat expected.command >>expected
}

touch printed expected expected.command
command=
while IFS= read -r line; do
  case $line in
    '```') inside=$((1 - ${inside:-0})) ;;
    *) [ "${inside:-0}" = 1 ] || continue ;;
  esac
  if [ "$line" = '```' ] || [ "${line:0:2}" = '$ ' ]; then
    [ -z "$command" ] || run "$command"
    command=
    : >expected.command
    [ "$line" = '```' ] || command=${line:2}
  fi
  [ -z "$command" ] || printf '%s\n' "$line" >>expected.command
done <"$source/$page"

[ "$(grep -c '^\$ ' printed)" -ge 7 ]
diff expected printed
