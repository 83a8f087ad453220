#!/usr/bin/env bash
# Runs a command with wine kept warm: starting it anew for every test, together with its services,
# takes seconds, and those services would hold the pipes through which a test's output is read.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
readonly here

work=$(mktemp -d)
keeper=
end_session() {
  [ -z "$keeper" ] || kill "$keeper" 2>/dev/null || true
  rm -rf "$work"
}
trap end_session EXIT

# A program that tells that it runs by making the file named to it, and goes on for a day.
cat >"$work/keep.c" <<'TXT'
#include <stdio.h>
#include <windows.h>
int main(int argc, char** argv) {
  FILE* ready = fopen(argv[argc - 1], "w");
  if (ready == NULL) return 1;
  fclose(ready);
  Sleep(24 * 60 * 60 * 1000);
  return 0;
}
TXT
x86_64-w64-mingw32-gcc-posix -static "$work/keep.c" -o "$work/keep.exe"
"$here/wine_run.sh" "$work/keep.exe" "Z:$work/ready" </dev/null >/dev/null 2>&1 &
keeper=$!
until [ -e "$work/ready" ]; do
  kill -0 "$keeper" 2>/dev/null || { echo 'wine_session: wine does not start' >&2; exit 1; }
  sleep 0.1
done
"$@"
