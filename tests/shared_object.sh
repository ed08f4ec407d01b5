#!/usr/bin/env bash
# Checks how library and tool were compiled and linked:
#
#   shared_object.sh OBJDUMP SYSTEM CONFIGURATION COMMANDS LIBRARY TOOL OBJECT...
#
# COMMANDS is the build's compile_commands.json; TOOL may be empty. Nothing is run, so cross builds are checked as well.
set -u
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/environment.sh"
objdump=$1 system=$2 configuration=$3 commands=$4 library=$5 tool=$6
shift 6
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

check "imported functions that throw" "" "$(awk '$7 == "UND" && $8 ~ /__throw_|__cxa_throw/ { print $8 }' <<<"$symbols")"
check "SONAME" "libzarn_clc_zarn_utility.so" "$(readelf -W -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')"

for file in "$library" ${tool:+"$tool"}; do
  dynamic=$(readelf -W -d "$file")
  check "libraries other than the C and C++ run-time that $file needs" "" \
    "$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic" |
      grep -vE '^(libc|libm|libdl|libgcc_s|libstdc\+\+|libc\+\+|libc\+\+abi|libunwind|ld(64|-linux-.*))\.so(\.[0-9]+)*$')"
  check "paths to libraries in $file" "" "$(grep -E 'RPATH|RUNPATH' <<<"$dynamic")"
  check "immediate binding of $file" "NOW" "$(grep -o 'Flags: NOW\|BIND_NOW' <<<"$dynamic" | grep -o NOW | sort -u)"
  check "relocations in the code of $file" "" "$(grep TEXTREL <<<"$dynamic")"
  check "position of $file, which is free" "DYN" "$(readelf -h "$file" | awk '$1 == "Type:" { print $2 }')"

  segments=$(readelf -W -l "$file")
  check "$file is read-only after relocation" "GNU_RELRO" "$(grep -o GNU_RELRO <<<"$segments")"
  check "stack of $file" "RW" "$(awk '$1 == "GNU_STACK" { print $7 }' <<<"$segments")"
  check "writable code in $file" "" "$(awk '$1 == "LOAD" && /RWE/' <<<"$segments")"
done

# For each processor: the compiler's option for branch protection, the instruction that functions then begin with, and
# what an object's note says; and its largest page size and oldest C library.
branch_protection='' landing='' note='' page_size=0x1000 glibc=2.14
case $(readelf -h "$library" | sed -n 's/.*Machine: *//p') in
  *X86-64) branch_protection=-fcf-protection landing=endbr64 note='x86 feature: IBT, SHSTK' ;;
  AArch64) branch_protection=-mbranch-protection=standard landing='paciasp|bti' note='AArch64 feature: BTI, PAC'
    page_size=0x10000 glibc=2.17 ;;
esac
[ "$system" != Android ] || page_size=0x4000

# The run-time libraries of old machines have these versions of their symbols. (The assertions of a debug build need
# newer ones.)
if [ "$configuration" != Debug ]; then
  for most in CXXABI_1.3.9 GCC_3.4 GLIBCXX_3.4 GLIBC_$glibc; do
    found=$(readelf -W -V "$library" | grep -oE "Name: ${most%_*}_[0-9.]+" | sed 's/Name: //')
    check "newest version of ${most%_*} that is needed" "$most" "$(printf '%s\n' "$found" "$most" | sort -V | tail -n 1)"
  done
fi

for file in "$library" ${tool:+"$tool"}; do
  loaded=$(readelf -W -l "$file" | awk '$1 == "LOAD" { print $2, $NF, / R E / }')
  check "executable segments of $file" 1 "$(grep -c ' 1$' <<<"$loaded")"
  while read -r offset alignment is_code; do
    check "alignment of $file" $page_size "$alignment"
    check "code in pages of its own in $file" 1 $((!is_code || offset % alignment == 0))
  done <<<"$loaded"
done

# Checks only that the compiler was asked for hardening: whether it finds anything to protect is its own matter.
options=(-fstack-protector-strong ${branch_protection:+"$branch_protection"})
[ "$configuration" = Debug ] || options+=(-D_FORTIFY_SOURCE=2)
compiled=$(grep -E '"command":.*(zarn_utility_objects|zarn_tool_objects)\.dir' "$commands")
check "compiled files" $# "$(wc -l <<<"$compiled")"
for option in "${options[@]}"; do
  check "files compiled without $option" "" "$(grep -vFe " $option " <<<"$compiled")"
done
for option in -fno-exceptions -fvisibility=hidden; do
  check "the library's files compiled without $option" "" \
    "$(grep -F zarn_utility_objects.dir <<<"$compiled" | grep -vFe " $option ")"
done

if [ -n "$landing" ]; then
  # Checks the objects, because the linked one has the note only if the C run-time's own objects do.
  for object; do check "note of $object" "$note" "$(readelf -n "$object" | grep -oF "$note")"; done
  check "functions with branch protection" "$(sed 's/@.*//' "$here/exports.txt")" "$("$objdump" -d --no-show-raw-insn "$library" |
    awk -v landing="$landing" '/^[0-9a-f]+ <(db|clc)_/ { name = $2; getline; if ($0 ~ landing) print name }' |
    tr -d '<>:' | sed 's/@.*//' | sort)"
fi
exit $status
