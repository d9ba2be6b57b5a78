#!/usr/bin/env bash
# The export table of ZKImgSet.dll as a host's linker sees it: the shared
# library's plain names (no _ or @n), each listed C++ signature once under a
# decorated name of the DLL's pointer width, nothing else, and imports from
# system DLLs only.
# usage: check_dll_exports.sh OBJDUMP LLVM_UNDNAME DLL PLAIN_LIST SIGNATURES
set -euo pipefail
objdump=$1 undname=$2 dll=$3 plain_list=$4 signatures=$5
fail() { echo "FAIL: $*"; status=1; }
status=0

exports=$("$objdump" -p "$dll" |
  sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | sed -n 's/^\s*\[ *[0-9]*\] //p' | sort)
[ -n "$exports" ] || { echo "FAIL: no export table in $dll"; exit 1; }
case "$("$objdump" -f "$dll")" in
  *pei-x86-64*) width=64 ;;
  *pei-i386*) width=32 ;;
  *) echo "FAIL: $dll is neither a 32-bit nor a 64-bit x86 DLL"; exit 1 ;;
esac

plain=$(grep -v '^?' <<<"$exports" || true)
decorated=$(grep '^?' <<<"$exports" || true)
wanted_plain=$(grep -v -e '^#' -e '^$' -e '^_Z' "$plain_list" | sort)
if [ "$plain" != "$wanted_plain" ]; then
  fail "plain exports differ (< in the DLL, > expected):"
  diff <(echo "$plain") <(echo "$wanted_plain") || true
fi

wanted_signatures=$(grep -v -e '^#' -e '^$' "$signatures" | sort)
actual_signatures=""
while read -r name; do
  [ -n "$name" ] || continue
  signature=$("$undname" "$name" | sed -n 2p)
  [ -n "$signature" ] && [ "$signature" != "$name" ] || fail "$name does not demangle"
  actual_signatures+="$signature"$'\n'
  pointers_64=$({ grep -o 'PE[AB]' || true; } <<<"${name#*@@}" | wc -l)
  pointers=$({ grep -o 'P[AB]' || true; } <<<"${name#*@@}" | wc -l)
  pointers=$((pointers + pointers_64))
  if [ "$width" = 64 ] && [ "$pointers_64" != "$pointers" ]; then
    fail "$name has 32-bit pointers in a 64-bit DLL"
  elif [ "$width" = 32 ] && [ "$pointers_64" != 0 ]; then
    fail "$name has 64-bit pointers in a 32-bit DLL"
  fi
done <<<"$decorated"
actual_signatures=$(sed '/^$/d' <<<"$actual_signatures" | sort)
if [ "$actual_signatures" != "$wanted_signatures" ]; then
  fail "decorated exports differ (< demangled from the DLL, > expected):"
  diff <(echo "$actual_signatures") <(echo "$wanted_signatures") || true
fi

imports=$("$objdump" -p "$dll" | sed -n 's/^\s*DLL Name: //p')
while read -r import; do
  case "${import,,}" in
    kernel32.dll | msvcrt.dll | user32.dll | advapi32.dll | ntdll.dll | api-ms-win-*) ;;
    *) fail "imports $import, which is not a system DLL" ;;
  esac
done <<<"$imports"

[ "$status" = 0 ] && echo "$dll ($width-bit): 37 exports, 28 plain and 9 decorated, as expected"
exit $status
