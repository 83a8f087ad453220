#!/usr/bin/env bash
# Fetches the sources of the libraries that the Windows executables link, once, into the directory
# given as the only argument, and verifies each against the checksum below.
#
# They come from where this machine's packages come from: its apt configuration, asked for source
# packages, and npm with its own defaults (for GNU libiconv, which Debian does not ship). Ends with
# status 75 when they cannot be had, so that a caller can tell that from a broken build.
set -euo pipefail
readonly destination=$1 unavailable=75

# checksum, file, where from: a Debian suite and a source package, or npm and a package.
readonly sources="\
84ce1c2d0be3a9863935137969dcec6970125caac032f82474640bfc81463583 fmtlib_9.1.0+ds1.orig.tar.gz bookworm fmtlib
81964fe578e9bd7c94dfdb09c8e4d6e6759e19967e397dbea48d1c10e45d0df2 googletest_1.12.1.orig.tar.gz bookworm googletest
4fe913dec8b1ab89d13b489b419a8203176ea39e931eaa0d25b17eafb9c279e9 libxml2_2.9.14+dfsg.orig.tar.xz bookworm libxml2
8247f33e9a872c6ac859aa45018bc4c4d00b97e2feac9eebc10c93ce1f34dd79 libxslt_1.1.35.orig.tar.xz bookworm libxslt
c33b418e3b936ee3153de2c61cc638e7e4fe3156022a5c77d0711bcbb9d64f1f pcre2_10.42.orig.tar.gz bookworm pcre2
696113659e426540625274a8b251052cc04306d8ee5c42a0c7639f39ca90c9d6 log4cpp_1.1.4.orig.tar.gz trixie log4cpp
9e2c1b80d5fbe59b61308fdfab6c79b5021d7ff4ff2489fb12daf0a96a83551d libarchive_3.6.2.orig.tar.xz bookworm libarchive
71feb7947e3c00ef125f83b79a4e529bde31171e5babe48b391f06758d1ab0a1 zlib_1.2.13.dfsg.orig.tar.bz2 bookworm zlib
5d9827aa1875b21c288f78864bb26d2650b436ea8d2cad364e4921eb6266a5a5 xz-utils_5.4.1.orig.tar.xz bookworm xz-utils
ab5a03176ee106d3f0fa90e381da478ddae405918153cca248e682cd0c4a2269 bzip2_1.0.8.orig.tar.gz bookworm bzip2
8cf4bbb65e77ec348d052c8d6230eba66d435bddf64c8b5be2fcb16880c19953 libzstd_1.5.4+dfsg2.orig.tar.xz bookworm libzstd
0b0e3aa07c8c063ddf40b082bdf7e37a1562bda40a0ff5272957f3e987e0e54b lz4_1.9.4.orig.tar.gz bookworm lz4
8143d20b688e98ccce8e24562d3b68e5f47c12e896c42c7ca8553dbde5bed55d cli11_2.1.2+ds.orig.tar.xz bookworm cli11
d69f9deb6a75e2580465c6c4c5111b89c4dc2fa94e3a85fcd2ffcd9a143d9273 nlohmann-json3_3.11.2.orig.tar.gz bookworm nlohmann-json3
19d0c9109234dcf12796915a4a9c9496b8ecf3e0d08e4722f99b56e3d0a3dffb iconv-3.0.1.tgz npm iconv@3.0.1"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

give_up() {
  printf 'fetch_sources: %s\n' "$*" >&2
  exit "$unavailable"
}

# The machine's own package sources as sources of source packages of a suite, in a private apt
# directory; nothing of the machine's own state is touched.
private_apt() {
  local suite=$1 directory=$work/apt-$1 PARTS LIST
  [ ! -e "$directory" ] || return 0
  mkdir -p "$directory"/{parts,lists/partial,cache/archives/partial}
  eval "$(apt-config shell PARTS Dir::Etc::sourceparts/d LIST Dir::Etc::sourcelist/f)"
  if [ -e "$PARTS/debian.sources" ]; then
    sed -E -e 's/^Types:.*/Types: deb-src/' -e "/^Suites:/s/bookworm/$suite/g" \
      "$PARTS/debian.sources" >"$directory/parts/private.sources"
  else
    sed -nE -e "s/^deb /deb-src /; s/bookworm/$suite/; /^deb-src/p" "$LIST" \
      >"$directory/parts/private.list"
  fi
  cat >"$directory/apt.conf" <<TXT
Dir::Etc::sourcelist "/dev/null";
Dir::Etc::sourceparts "$directory/parts";
Dir::State::lists "$directory/lists";
Dir::Cache "$directory/cache";
APT::Sandbox::User "root";
Acquire::Retries "1";
Acquire::http::Timeout "30";
TXT
  APT_CONFIG=$directory/apt.conf apt-get -qq update >/dev/null 2>&1 ||
    give_up "no package lists of $suite"
}

fetch() {
  local origin=$1 package=$2
  if [ "$origin" = npm ]; then
    npm pack --silent --fetch-retries=1 "$package" >/dev/null 2>&1
  else
    private_apt "$origin"
    # Only the upstream archive: what a distribution adds to it is not used.
    APT_CONFIG=$work/apt-$origin/apt.conf \
      apt-get source -qq --download-only --tar-only "$package" >/dev/null 2>&1
  fi
}

verify() {
  printf '%s  %s\n' "$1" "$2" | sha256sum --check --status && return
  printf 'fetch_sources: %s is not the file it should be (checksum)\n' "$2" >&2
  exit 1
}

mkdir -p "$destination"
cd "$work"
while read -r checksum file origin package; do
  if [ ! -e "$destination/$file" ]; then
    fetch "$origin" "$package" </dev/null || give_up "cannot fetch $package from $origin"
    [ -e "$file" ] || give_up "$origin has another version of $package than $file"
    verify "$checksum" "$file"
    mv "$file" "$destination/"
  fi
  verify "$checksum" "$destination/$file"
done <<<"$sources"
