#!/usr/bin/env bash
# Builds the static libraries that the Windows executables and their tests link, with the cross
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

# source_of NAME: unpacks the archive NAME*, prints the directory.
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

# with_compiler NAME FLAGS FILE...: makes libNAME.a of the files, for a library without a build that
# knows this compiler and can leave the shared library out.
with_compiler() {
  local name=$1 flags file object objects=()
  read -ra flags <<<"$2"
  shift 2
  mkdir -p "$work/objects/$name"
  for file in "$@"; do
    object=$work/objects/$name/$(basename "$file" .c).o
    x86_64-w64-mingw32-gcc-posix -O2 -c "${flags[@]}" "$file" -o "$object"
    objects+=("$object")
  done
  x86_64-w64-mingw32-ar rcs "$prefix/lib/lib$name.a" "${objects[@]}"
}

# The package holds the library's two sources with the configuration they need. The header's
# parameter is made non-const, as in the C libraries of other systems.
build_iconv() {
  local source
  source=$(source_of iconv)
  sed 's/const char\* \* inbuf/char* * inbuf/' "$source/support/iconv.h" >"$prefix/include/iconv.h"
  with_compiler iconv \
    "-DENABLE_EXTRA=1 -DICONV_CONST= -DWORDS_LITTLEENDIAN=1 -I$prefix/include -I$source/support" \
    "$source"/{deps/libiconv/lib/iconv,support/localcharset}.c
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

build_zlib() {
  local source
  source=$(source_of zlib)
  with_compiler z '' "$source"/*.c
  cp "$source"/{zlib,zconf}.h "$prefix/include/"
  licence zlib "$source/LICENSE"
}

# Without getopt_long its build leaves the programs out. libarchive decompresses in one thread.
build_xz() {
  local source
  source=$(source_of xz-utils)
  with_cmake "$source" -DHAVE_GETOPT_LONG=OFF -DBUILD_TESTING=OFF
  licence liblzma "$source/COPYING"
}

# On Windows the header declares pointers into a DLL that the program loads itself. It is changed to
# declare the functions, as it does on other systems.
build_bzip2() {
  local source
  source=$(source_of bzip2)
  sed -i 's/ifdef _WIN32/if 0/' "$source/bzlib.h"
  with_compiler bz2 '' \
    "$source"/{blocksort,huffman,crctable,randtable,compress,decompress,bzlib}.c
  cp "$source/bzlib.h" "$prefix/include/"
  licence bzip2 "$source/LICENSE"
}

build_zstd() {
  local source
  source=$(source_of libzstd)
  with_cmake "$source/build/cmake" \
    -DZSTD_{BUILD_PROGRAMS,BUILD_SHARED,BUILD_TESTS,LEGACY_SUPPORT,MULTITHREAD_SUPPORT}=OFF
  licence zstd "$source/LICENSE"
}

# The prefix of the names keeps its copy of xxHash apart from others.
build_lz4() {
  local source
  source=$(source_of lz4)
  with_compiler lz4 -DXXH_NAMESPACE=LZ4_ "$source"/lib/{lz4,lz4hc,lz4frame,xxhash}.c
  cp "$source"/lib/{lz4,lz4hc,lz4frame}.h "$prefix/include/"
  licence lz4 "$source/lib/LICENSE"
}

# Its build always makes the shared library too, and gives the static one another name.
build_libarchive() {
  local source
  source=$(source_of libarchive)
  sed -i -e 's/ADD_LIBRARY(archive SHARED/& EXCLUDE_FROM_ALL/' \
    -e 's/INSTALL(TARGETS archive archive_static/INSTALL(TARGETS archive_static/' \
    "$source/libarchive/CMakeLists.txt"
  with_cmake "$source" -DCMAKE_C_FLAGS=-DLZMA_API_STATIC -DPOSIX_REGEX_LIB=NONE \
    -DENABLE_{TAR,CPIO,CAT,TEST,OPENSSL,CNG,LIBB2,LIBXML2,EXPAT,PCREPOSIX,LIBGCC,ICONV,XATTR,ACL}=OFF \
    -DENABLE_{ZLIB,BZip2,LZMA,ZSTD,LZ4}=ON
  mv "$prefix/lib/libarchive_static.a" "$prefix/lib/libarchive.a"
  licence libarchive "$source/COPYING"
}

build_cli11() {
  local source
  source=$(source_of cli11)
  with_cmake "$source" -DCLI11_BUILD_{DOCS,TESTS,EXAMPLES}=OFF
  licence cli11 "$source/LICENSE"
}

build_json() {
  local source
  source=$(source_of nlohmann-json3)
  with_cmake "$source" -DJSON_BuildTests=OFF
  licence nlohmann-json "$source/LICENSE.MIT"
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

build_all iconv libxml2 libxslt log4cpp fmt googletest cli11 json &
readonly other_chain=$!
status=0
build_all pcre2 zlib xz bzip2 zstd lz4 libarchive || status=$?
wait "$other_chain" || status=$?
[ "$status" = 0 ] || exit "$status"
touch "$complete"
printf '%s\n' "$prefix"
