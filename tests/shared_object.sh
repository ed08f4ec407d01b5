#!/usr/bin/env bash
# Holds a built library against what it has to be: shared_object.sh LIBRARY OBJDUMP CONFIGURATION
# The tools read the objects of the processor that was built for, so this runs on cross builds too.
set -u
library=$1 objdump=$2 configuration=$3
here=$(dirname "$0")
status=0
check() {  # check WHAT EXPECTED FOUND
  [ "$2" = "$3" ] && return
  printf '%s: expected\n%s\nfound\n%s\n' "$1" "$2" "$3"
  status=1
}

symbols=$(readelf -W --dyn-syms "$library")
exported=$(awk '$1 ~ /^[0-9]+:$/ && $5 != "LOCAL" && $7 != "UND" && $7 != "ABS" { print $8 }' <<<"$symbols" | sort)
check "exported names" "$(cat "$here/exports.txt")" "$exported"

dynamic=$(readelf -W -d "$library")
check "SONAME" "libzarn_clc_zarn_utility.so" "$(sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' <<<"$dynamic")"
check "libraries other than the C and C++ run-time" "" "$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic" |
  grep -vE '^(libc|libm|libgcc_s|libstdc\+\+|libc\+\+|libc\+\+abi|libunwind|ld-linux-.*)\.so(\.[0-9]+)*$')"
check "immediate binding" "NOW" "$(grep -o 'Flags: NOW\|BIND_NOW' <<<"$dynamic" | grep -o NOW | sort -u)"
check "relocations in code" "" "$(grep TEXTREL <<<"$dynamic")"

segments=$(readelf -W -l "$library")
check "read-only after relocation" "GNU_RELRO" "$(grep -o GNU_RELRO <<<"$segments")"
check "stack" "RW" "$(awk '$1 == "GNU_STACK" { print $7 }' <<<"$segments")"
check "writable code" "" "$(awk '$1 == "LOAD" && /RWE/' <<<"$segments")"

# Every exported function begins with the landing mark of the processor's branch protection.
code=$("$objdump" -d --no-show-raw-insn "$library")
check "functions without branch protection" "" "$(awk '/^[0-9a-f]+ <(db|clc)_/ { name = $2; getline; first = $0
  if (first !~ /endbr64|paciasp|bti/) print name }' <<<"$code")"
check "stack protector" "__stack_chk_fail" "$(grep -o '__stack_chk_fail' <<<"$symbols" | sort -u)"
[ "$configuration" = Debug ] ||
  check "calls that are checked at run time" yes "$(grep -qE '__(snprintf|mem[a-z]+)_chk' <<<"$symbols" && echo yes)"
exit $status
