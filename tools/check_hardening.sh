#!/usr/bin/env bash
# Fails unless the executable is hardened as cmake/Hardening.cmake says: check_hardening.sh PROGRAM
set -euo pipefail
readonly program=$1
missing=0

# has WHAT TEXT PATTERN
has() {
  grep -qE -- "$3" <<<"$2" && return
  echo "$program: no $1"
  missing=1
}

headers=$(LC_ALL=C readelf -hldW "$program")
symbols=$(LC_ALL=C readelf --dyn-syms -W "$program")
has 'position-independent code' "$headers" 'Type: +DYN .*Position-Independent'
has 'read-only relocations' "$headers" 'GNU_RELRO'
has 'binding at start' "$headers" 'FLAGS.*NOW'
has 'stack protector' "$symbols" '__stack_chk_fail'
has 'fortified library calls' "$symbols" '__(mem|str|vsn|sn|fgets|read|poll)[a-z]*_chk'
has 'checks of the standard library' "$symbols" 'glibcxx_assert_fail'
has 'stack without execution' "$(grep GNU_STACK <<<"$headers")" 'RW  '
if grep -q 'X86-64' <<<"$headers"; then
  # Counted in the code: the mark of the whole program needs start-up files that have it too.
  targets=$(objdump -d --no-show-raw-insn -j .text "$program" | grep -c endbr64 || true)
  has 'marked jump targets' "$targets" '^[0-9]{3,}$'
fi
exit $missing
