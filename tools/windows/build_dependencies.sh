#!/usr/bin/env bash
# Builds the static libraries that the Windows executable and its tests link, with the cross
# compiler, and keeps them in a cache outside the checkout. Prints the prefix they are installed in.
#
#   build_dependencies.sh           builds what is not in the cache
#   build_dependencies.sh --where   only prints the prefix, whether or not it is complete
#
# The prefix is named after the two scripts that decide what is in it, so a changed script builds
# anew. Ends with status 75 when sources cannot be fetched.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
readonly here
cache=${XDG_CACHE_HOME:-$HOME/.cache}/sourcetype-windows
name=$(cat "$here/fetch_sources.sh" "$here/build_dependencies.sh" | sha256sum | cut -c1-16)
readonly prefix=$cache/$name
readonly complete=$prefix/complete

if [ "${1:-}" = --where ] || [ -e "$complete" ]; then
  printf '%s\n' "$prefix"
  exit 0
fi

mkdir -p "$cache"
exec 9>"$cache/lock"
flock 9 # one build at a time
if [ -e "$complete" ]; then
  printf '%s\n' "$prefix"
  exit 0
fi

"$here/fetch_sources.sh" "$cache/downloads" >&2

rm -rf "$prefix"
mkdir -p "$prefix"/{include,lib,logs,licences}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly work
export SOURCETYPE_WINDOWS_PREFIX=$prefix
jobs=$(nproc)
readonly jobs

# source_of NAME: unpacks the archive NAME*, gives the directory.
source_of() {
  local directory=$work/source/$1
  mkdir -p "$directory"
  tar xf "$(echo "$cache/downloads/$1"[_-]*)" -C "$directory"
  mv "$directory"/* "$directory/$1" 2>/dev/null || true # the name of the top is the archive's own
  printf '%s' "$directory/$1"
}

# licence NAME FILE...: the texts go into the package beside the executable.
licence() {
  local library=$1
  shift
  mkdir -p "$prefix/licences/$library"
  cp "$@" "$prefix/licences/$library/"
}

# with_cmake SOURCE OPTION...
with_cmake() {
  local source=$1 build
  build=$work/build/$(basename "$1")
  shift
  cmake -S "$source" -B "$build" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$here/../../cmake/windows-toolchain.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
    -DBUILD_SHARED_LIBS=OFF "$@"
  cmake --build "$build" -j "$jobs"
  cmake --install "$build"
}

# The package holds the library's two sources with the configuration they need. The header's
# parameter is made non-const, as in the C libraries of other systems.
build_iconv() {
  local source
  source=$(source_of iconv)
  sed 's/const char\* \* inbuf/char* * inbuf/' "$source/support/iconv.h" >"$prefix/include/iconv.h"
  local object objects=()
  for file in deps/libiconv/lib/iconv support/localcharset; do
    object=$work/$(basename "$file").o
    x86_64-w64-mingw32-gcc-posix -O2 -c -DENABLE_EXTRA=1 -DICONV_CONST= -DWORDS_LITTLEENDIAN=1 \
      -I"$prefix/include" -I"$source/support" "$source/$file.c" -o "$object"
    objects+=("$object")
  done
  x86_64-w64-mingw32-ar rcs "$prefix/lib/libiconv.a" "${objects[@]}"
  licence libiconv /usr/share/common-licenses/LGPL-2 "$source/LICENSE"
}

build_libxml2() {
  local source
  source=$(source_of libxml2)
  with_cmake "$source" \
    -DLIBXML2_WITH_{PYTHON,PROGRAMS,TESTS,ZLIB,LZMA,HTTP,FTP}=OFF -DLIBXML2_WITH_ICONV=ON
  licence libxml2 "$source/Copyright"
}

build_libxslt() {
  local source
  source=$(source_of libxslt)
  with_cmake "$source" -DLIBXSLT_WITH_{PYTHON,TESTS,CRYPTO}=OFF
  licence libxslt "$source/Copyright"
}

build_pcre2() {
  local source
  source=$(source_of pcre2)
  with_cmake "$source" -DPCRE2_BUILD_PCRE2_{16,32}=OFF -DPCRE2_SUPPORT_JIT=ON \
    -DPCRE2_SUPPORT_UNICODE=ON -DPCRE2_BUILD_TESTS=OFF -DPCRE2_BUILD_PCRE2GREP=OFF
  licence pcre2 "$source/LICENCE"
}

# Its build names a linker flag of another compiler, and its configuration header redefines int64_t
# for everyone who includes it.
build_log4cpp() {
  local source
  source=$(source_of log4cpp)
  sed -i '/NODEFAULTLIB/d' "$source/CMakeLists.txt"
  sed -i '/define int64_t __int64/d' "$source/include/log4cpp/config-MinGW32.h"
  with_cmake "$source"
  licence log4cpp "$source/COPYING"
}

build_fmt() {
  local source
  source=$(source_of fmtlib)
  with_cmake "$source" -DFMT_TEST=OFF -DFMT_DOC=OFF
  licence fmt "$source/LICENSE.rst"
}

build_googletest() { with_cmake "$(source_of googletest)"; }

# build_all LIBRARY...: one after the other, each with a log of its own.
build_all() {
  local library
  for library in "$@"; do
    # A function called in a condition would go on after a failed command.
    set +e
    (set -e; "build_$library") >"$prefix/logs/$library" 2>&1
    local status=$?
    set -e
    [ "$status" = 0 ] && continue
    tail -n 30 "$prefix/logs/$library" >&2
    printf 'build_dependencies: %s does not build; see %s\n' "$library" "$prefix/logs" >&2
    return 1
  done
}

build_all iconv libxml2 libxslt &
readonly xml_chain=$!
status=0
build_all pcre2 log4cpp fmt googletest || status=$?
wait "$xml_chain" || status=$?
[ "$status" = 0 ] || exit "$status"
touch "$complete"
printf '%s\n' "$prefix"
