#!/usr/bin/env bash
# Makes a zip of the Windows executables and all that goes with them; prints its name.
#
#   package.sh [BUILD_DIRECTORY]    by default build/windows
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
readonly here
build=$(realpath "${1:-$here/../../build/windows}")
readonly build
cd "$here/../.."

# Pages for developers, and for Linux.
readonly left_out=' architecture decisions fuzzing many-files packages performance testing '

version=$(sed -nE 's/^project\(sourcetype VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
readonly name=sourcetype-$version-windows-x64
prefix=$("$here/build_dependencies.sh" --where)
readonly prefix
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly top=$work/$name

mkdir -p "$top"/{docs/man,licences,samples,source}
cp "$build"/src/sourcetype{,-inspect}.exe packaging/install.ps1 CHANGELOG.md LICENSE "$top/"
cp packaging/windows-readme.md "$top/README.md"
for page in docs/*.md docs/*.svg; do
  [[ ! -e $page || $left_out == *" $(basename "$page" .md) "* ]] || cp "$page" "$top/docs/"
done
cp docs/man/*.md "$top/docs/man/"
cp samples/dispatch*.log "$top/samples/"
# A run with the source tree as its TARNEL_HOME leaves its own there.
tar --exclude=local --exclude=learned --exclude=log-cmdline-local.cfg -cf - etc | tar -C "$top" -xf -
cp packaging/licences.md "$top/licences/README.md"
tools/check_links.pl --settle "$top" >/dev/null
# Windows has had editors that show a file with other line ends as one line.
find "$top" \( -name '*.md' -o -name LICENSE -o -name '*.ps1' \) -exec sed -i 's/$/\r/' {} +
cp -R "$prefix/licences/." "$top/licences/"
for package in gcc-mingw-w64-base mingw-w64-common; do # the compiler's own libraries
  mkdir -p "$top/licences/$package"
  cp "/usr/share/doc/$package/copyright" "$top/licences/$package/"
done
# What it takes to link the executables anew with changed copies of the LGPL libraries.
cp "${prefix%/*}"/downloads/{log4cpp,iconv}[_-]* "$top/source/"
git archive --format=tar.gz --prefix="sourcetype-$version/" -o "$top/source/sourcetype-$version.tar.gz" HEAD

mkdir -p build
rm -f "build/$name.zip"
(cd "$work" && cmake -E tar cf "$name.zip" --format=zip "$name")
mv "$work/$name.zip" build/
printf 'build/%s.zip\n' "$name"
