#!/usr/bin/env bash
# Looks at the page of `report` in a browser: report_test.sh SOURCE-DIRECTORY BUILD-DIRECTORY
set -euo pipefail
readonly source=$1 build=$2
browser=$(command -v chromium) || { echo "skipped: no chromium"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir home logs
cp -R "$source/etc" home/
export TARNEL_HOME=$work/home HOME=$work

for i in {1..120}; do
  printf '2026-01-02 03:04:05 </script><img src=x onerror="document.title=1"><!-- %d\n more\n' "$i"
done >'logs/<script>document.title=1<script>.log'
for i in {1..120}; do printf 'Jan  2 03:04:05 host sshd[%d]: Accepted publickey for root\n' "$i"; done >logs/auth.log
gzip -k logs/auth.log
mkdir -p 'known/<i>web' known/tea
for i in {1..120}; do
  echo "10.0.0.$i - GET /index.html?page=$i HTTP/1.1 200 $i" | tee -a 'known/<i>web/1.log' 'known/<i>web/2.log'
  echo "2026-01-02 unit=$i tea ready after $i minutes" | tee -a known/tea/1.log known/tea/2.log known/tea/3.log
done >/dev/null

fail() { echo "$1"; exit 1; }
page() { # HASH: what the browser shows, without what the page has as data
  timeout 120 "$browser" --headless --no-sandbox --disable-gpu --user-data-dir="$work/profile" \
    --virtual-time-budget=5000 --dump-dom "file://$work/r.html#$1" 2>/dev/null |
    sed '/<script/,/<\/script>/d' >shown
}
count() { grep -o "$1" shown | wc -l; }

status=0
"$build/src/sourcetype-inspect" --quiet report logs -o r.html --evaluate known || status=$?
[ "$status" = 1 ] || fail "status $status: one file is not recognised"

"$build/src/sourcetype-inspect" --quiet report logs -o one.html -j 1 --evaluate=known || true
for name in r one; do sed -i -E 's/"created":"[^"]*"/"created":""/' "$name.html"; done
cmp r.html one.html || fail "the page depends on the number of threads"

page ''
[ "$(count '<tr class="file">')" = 3 ] || fail "not 3 rows"
grep -q '&lt;script&gt;document.title=1&lt;script&gt;' shown || fail "the name is not text"
grep -q '>3 of 3 files<' shown || fail "no count of files"
# Without a script too.
grep -q '<td class="right-5" title="tea as tea: 3 of 3">3</td>' shown || fail "no confusion table"
grep -q '<th scope="row">&lt;i&gt;web</th>' r.html || fail "a sourcetype in the table is not text"
page 'filter=os_auth%20.gz'
[ "$(count '<tr class="file">')" = 1 ] || fail "the filter does not leave one row"
grep -q '>1 of 3 files<' shown || fail "no count of filtered files"
page 'filter=title&open=0&open=1&open=2'
grep -q '<title>sourcetype-inspect report</title>' shown || fail "a text of a log was run"
[ "$(count '<mark>2026-01-02 03:04:05</mark>')" -gt 10 ] || fail "no timestamps are marked"
[ "$(count '<svg ')" = 2 ] || fail "not two plots"
! grep -q '<img' shown || fail "a text of a log became an element"

status=0
"$build/src/sourcetype-inspect" report logs -o none/r.html 2>/dev/null || status=$?
[ "$status" = 2 ] || fail "status $status without a directory for the page"
