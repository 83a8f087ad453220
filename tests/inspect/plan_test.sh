#!/usr/bin/env bash
# The diff of `plan` makes of a tree what `sourcetype` makes of it: plan_test.sh SOURCE-DIRECTORY
# BUILD-DIRECTORY
set -euo pipefail
readonly source=$1 build=$2
command -v patch >/dev/null || { echo "skipped: no patch"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

mkdir start
cp -R "$source/etc" start/
mkdir -p start/etc/system/local start/etc/apps/learned/local
# Without a newline at the end.
printf '[a]\nTZ = UTC\n[source::...table]\nsourcetype = cols\nCHECK_FOR_HEADER = true' \
  >start/etc/system/local/props.conf
for i in {1..150}; do printf '2026-01-02 03:04:05 unit=%d state changed\n' "$i"; done >orders.log
for i in {1..150}; do printf 'Jan  2 03:04:05 host sshd[%d]: Accepted publickey\n' "$i"; done >auth.log
for i in {1..150}; do printf '10.0.0.%d - GET /index.html HTTP/1.1 200\n' "$i"; done >'web log.log'
{ echo 'name;size'; for i in {1..150}; do echo "tea $i;$i"; done; } >x.table
head -n 20 orders.log >small.log

# The stanza of a model has the time and a random number in its name.
settle() { # TREE: the files below it, without locks
  find "$1" -type f ! -name '*.lock' -exec sed -i -E \
    's/^(\[.*_)[0-9]{4}-[0-9-]+T[0-9:]+Z_[0-9]+\]$/\1TIME_NUMBER]/' {} +
}

# WORD...: what `sourcetype WORD...` does, by the tool and by the diff
check() {
  rm -rf tool diff
  cp -R start tool
  cp -R start diff
  local status=0
  "$build/src/sourcetype-inspect" --home start plan "$@" >changes.diff || status=$?
  [ "$status" = "$changes" ] || { echo "plan $*: status $status"; exit 1; }
  if [ -s changes.diff ]; then patch --quiet -d diff -p1 <changes.diff; fi
  TARNEL_HOME=$work/tool "$build/src/sourcetype" "$@" >/dev/null 2>&1
  [ "$models" = 0 ] || { settle tool; settle diff; }
  diff -r -x '*.lock' tool diff || { echo "plan $* differs from what the tool wrote"; exit 1; }
}

changes=1 models=1
check orders.log
check 'web log.log' 'web log'
check auth.log
check auth.log a
# No model is written, so the bytes are the same.
models=0
check x.table
check small.log
# What the tool has learned.
TARNEL_HOME=$work/start "$build/src/sourcetype" orders.log >/dev/null 2>&1
changes=0
check orders.log
changes=1 models=1
check 'web log.log' orders
