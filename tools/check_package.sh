#!/usr/bin/env bash
# Fails where a package is not as it should be: its files, unpacked anywhere, have to classify a
# sample and learn it, and a Debian package has to be what Debian asks for.
#
#   check_package.sh PACKAGE.deb | PACKAGE.tar.gz
set -euo pipefail
package=$(realpath "$1")
readonly package
cd "$(dirname "${BASH_SOURCE[0]}")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly unpacked="$work/any where"
mkdir "$unpacked"

fail() {
  printf 'check_package: %s: %s\n' "${package##*/}" "$*" >&2
  exit 1
}

readonly home=$unpacked/etc/sourcetype
case $package in
  *.deb)
    dpkg-deb -x "$package" "$unpacked"
    executable=$unpacked/usr/bin/sourcetype
    ;;
  *)
    tar -xzf "$package" --strip-components=1 -C "$unpacked"
    executable=$unpacked/bin/sourcetype
    ;;
esac

# A run in the source tree may have left the first three there.
diff -r -x local -x learned -x log-cmdline-local.cfg etc "$home/etc" || fail 'not the configuration'

documents=$(find "$unpacked" -type d -path '*/share/doc/sourcetype')
tools/check_links.pl "$documents" >"$work/links" || fail "$(cat "$work/links")"

TARNEL_HOME=$home "$executable" samples/dispatch.log >"$work/out" 2>"$work/err" ||
  fail "cannot run: $(cat "$work/err")"
grep -qP '^\tsourcetype -> dispatch$' "$work/out" || fail "classified: $(cat "$work/out")"
grep -qF '[dispatch]' "$home/etc/system/local/props.conf" || fail 'did not learn the sample'
rm -r "$home/etc/system/local" "$home/etc/apps/learned"
"$executable-inspect" --home "$home" explain samples/dispatch.log >"$work/out" 2>"$work/err" || true
grep -qF 'dispatch.log: dispatch' "$work/out" || fail "explained: $(cat "$work/out" "$work/err")"

[[ $package == *.deb ]] || exit 0

diff <(dpkg-deb -I "$package" conffiles | sort) \
  <(cd "$unpacked" && find etc -type f -printf '/%p\n' | sort) || fail 'conffiles are others'

# The tar.gz links the same libraries: what to install for it, beside the compiler's, is documented.
for library in $(dpkg-deb -f "$package" Depends | sed -E 's/\([^)]*\)//g; s/[,|]/ /g'); do
  case $library in
    libc6 | libgcc-s1 | libstdc++6) ;;
    *) grep -qwF -- "$library" docs/packages.md || fail "docs/packages.md does not name $library" ;;
  esac
done

if command -v lintian >/dev/null; then
  # Root may be the only account of a container.
  lintian --allow-root --pedantic --fail-on error,warning,pedantic "$package" >&2 ||
    fail 'lintian complains'
else
  printf 'check_package: lintian is not installed; skipped\n' >&2
fi
