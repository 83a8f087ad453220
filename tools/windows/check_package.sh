#!/usr/bin/env bash
# Fails where the zip for Windows is not as it should be: its configuration is that of the repository,
# its documents name and link files that it has, and the program prints what README.md shows.
#
#   check_package.sh PACKAGE.zip
set -euo pipefail
package=$(realpath "$1")
readonly package
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
top=$work/$(basename "$package" .zip)
readonly top

fail() {
  printf 'check_package: %s: %s\n' "${package##*/}" "$*" >&2
  exit 1
}

(cd "$work" && cmake -E tar xf "$package")
# A run in the source tree may have left the first three there.
diff -r -x local -x learned -x log-cmdline-local.cfg etc "$top/etc" || fail 'not the configuration'
tools/check_links.pl "$top" >"$work/links" || fail "$(cat "$work/links")"
if grep -qv $'\r$' "$top/README.md"; then fail 'README.md has lines that do not end in CR LF'; fi

tr -d '\r' <"$top/README.md" >"$work/readme"
named=$(grep -oE '(docs|samples|licences)\\[A-Za-z0-9_.\-]*[a-z0-9]|(install|sourcetype[a-z-]*)\.(exe|ps1)' "$work/readme" | sort -u)
[ -n "$named" ] || fail 'README.md names no files'
while IFS= read -r name; do
  [ -e "$top/${name//\\//}" ] || fail "README.md names $name"
done <<<"$named"

sed -nE 's/^    (PROPERTIES OF|PropertiesMap|\t|\})/\1/p' "$work/readme" >"$work/shown"
(cd "$top" && TARNEL_HOME=Z:$top "$OLDPWD/tools/windows/wine_run.sh" ./sourcetype.exe 'samples\dispatch.log') \
  >"$work/out" 2>"$work/err" </dev/null || fail "cannot run: $(cat "$work/err")"
diff "$work/shown" "$work/out" || fail 'README.md shows another output'
