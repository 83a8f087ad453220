#!/usr/bin/env bash
# Fails when an executable needs a DLL that Windows does not bring along.
set -euo pipefail
readonly executable=$1
readonly of_the_system=' ADVAPI32.dll KERNEL32.dll USER32.dll WS2_32.dll msvcrt.dll '

imports=$(x86_64-w64-mingw32-objdump -p "$executable" | sed -nE 's/^\s*DLL Name: //p')
[ -n "$imports" ] || { echo "check_imports: $executable imports nothing at all" >&2; exit 1; }
for library in $imports; do
  case $of_the_system in
    *" $library "*) ;;
    *) echo "check_imports: $executable needs $library" >&2; exit 1 ;;
  esac
done
