#!/usr/bin/env bash
# The recipe of docs/packages.md that copies the configuration into the tree of a server changes no
# file of the server, whose settings win, and the copied rules recognise logs.
#
#   beside_server_test.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
readonly source=$1 program=$2/src/sourcetype
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TARNEL_HOME=$work/server
readonly etc=$TARNEL_HOME/etc

expect() { # expect WANTED GOT
  [ "$1" = "$2" ] || { printf 'expected:\n%s\ngot:\n%s\n' "$1" "$2" >&2; exit 1; }
}

# write FILE: a file of the server.
write() {
  mkdir -p "$etc/$(dirname "$1")"
  cat >"$etc/$1"
}

# What of the server's may not change: the content of files, the permissions of directories, links.
own_files() {
  (cd "$work" && xargs -0 -a own sha256sum && stat -c '%a %F %n' server/etc server/etc/system server/etc/apps)
}

write system/default/props.conf <<'TXT'
[default]
CHARSET = ISO-8859-1
[os_dpkg]
SHOULD_LINEMERGE = True
TXT
write system/default/transforms.conf <<<$'[own]\nDELIMS = ","\nFIELDS = "a", "b"'
write system/local/props.conf <<<$'[os_dpkg]\nTZ = Europe/Berlin'
write log-cmdline.cfg <<<$'rootCategory = ERROR, out\nappender.out = ConsoleAppender'
write log-cmdline-local.cfg <<<'category.Own = DEBUG'
write datetime.xml <<<'<other><form/></other>'
write elsewhere/windows/default/props.conf <<<$'[own]\nTZ = UTC'
ln -s elsewhere "$etc/apps"
chmod 750 "$etc" "$etc/system"
(cd "$work" && find server -type f -print0 >own)
before=$(own_files)

recipe=$(sed -n 's/^    \(tar -C .*--skip-old-files.*\)/\1/p' "$source/docs/packages.md")
[ -n "$recipe" ] || { echo 'docs/packages.md has no recipe' >&2; exit 1; }
recipe=${recipe//\/srv\/indexer/$TARNEL_HOME}
for _ in first again; do
  (cd "$source" && bash -euo pipefail -c "${recipe//\/etc\/sourcetype\/etc/etc}")
  expect "$before" "$(own_files)"
done
# A run in the source tree may have left the first two there.
expect "Only in $etc/apps/: windows" \
  "$(diff -r -x local -x learned "$source/etc/apps" "$etc/apps/")"

for i in {10..69}; do
  printf '2024-03-01 10:00:%d status installed lib%d:amd64 1.0-%d\n' $((i % 60)) "$i" "$i"
  printf '2024-03-01 10:00:%d configure lib%d:amd64 1.0-%d <none>\n' $((i % 60)) "$i" "$i"
done >"$work/packages.log"
expect 'PropertiesMap: {
	CHARSET -> ISO-8859-1
	MAX_TIMESTAMP_LOOKAHEAD -> 19
	SHOULD_LINEMERGE -> True
	TIME_FORMAT -> %Y-%m-%d %H:%M:%S
	TZ -> Europe/Berlin
	is_valid -> True
	sourcetype -> os_dpkg
}' "$("$program" "$work/packages.log" 2>"$work/err" | tail -n +2)"
expect "Using logging configuration at $etc/log-cmdline.cfg." "$(cat "$work/err")"
expect "$before" "$(own_files)"
