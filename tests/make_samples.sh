#!/usr/bin/env bash
# Writes the sample files of samples/: make_samples.sh DIRECTORY. docs/formats.md has the layouts.
set -eu
mkdir -p "$1"/{print,log,kernel}
cd "$1"

# little WIDTH VALUE...: writes each value as WIDTH bytes, the lowest first
little() {
  local width=$1 value bytes='' i
  shift
  for value; do
    for ((i = 0; i < width; ++i)); do
      printf -v bytes '%s\\x%02x' "$bytes" $((value >> 8 * i & 255))
    done
  done
  # shellcheck disable=SC2059  # the bytes are escapes
  printf "$bytes"
}

# ----------------------------------------------------------------------------------------------------------------------
# Print buffers, and the table of their formats.

format_offset=0
: >print/strings.bin

# print NAME KIND DATA_TYPE FORMAT 'SUBMASK...' VALUE: VALUE is an expression of i, the index of a word of the values
print() {
  local submasks values=() i
  read -ra submasks <<<"$5 0 0 0 0"
  for ((i = 0; i < 128; ++i)); do values+=($(($6))); done
  {
    little 4 $(($2 | $3 << 6)) 1000 620 1 2 3 "${submasks[@]:0:4}" $format_offset "${values[@]}"
    head -c 64 /dev/zero
  } >"print/$1.bin"
  printf '%s\0' "$4" >>print/strings.bin
  ((format_offset += ${#4} + 1))
}

# Floats: (i - 16) / 4.
quarters=()
for ((i = -16; i < 112; ++i)); do
  magnitude=$((i < 0 ? -i : i)) exponent=0
  while ((magnitude >> exponent + 1)); do ((exponent += 1)); done
  quarters+=($((i == 0 ? 0 : (i < 0) << 31 | exponent + 125 << 23 | magnitude << 23 - exponent & 0x7FFFFF)))
done

print masked-u32 0 2 'val=%u' '5' 'i == 0 ? 7 : i == 1 ? 0xFFFFFFFF : 0'
print masked-64bit 1 3 '%x' '0x30' 'i == 2 ? 16 : i == 66'
print masked-float 4 5 'x = %9.3f' '1 2 0xC0000000 0xC0000000' 'quarters[i]'
print masked-none 0 1 '%u' '' i
print single-u32 3 1 $'counter is %d\n' '' 'i == 0 ? 0xFFFFFFFF : 0'
print single-64bit 8 4 '0x%08x' '0xF' 'i == 0 ? 0xBEEF : i == 64 ? 0xDEAD : 0'
print single-float 2 5 'v=%.2f' '' 'i == 0 ? 0x3FC00000 : 0'
print pads-u32 5 7 '%u' '' i
print pads-float 5 6 '%g' '' 'quarters[i]'
print all-i32 6 0 '%+d' '' '1000 * (i - 64)'
print all-float 7 5 '%.1e' '' 'quarters[i]'

# ----------------------------------------------------------------------------------------------------------------------
# Descriptor logs: bytes are appended to a ring from a given position on.

# ring SIZE AT
ring() {
  bytes=() at=$2
  local i
  for ((i = 0; i < $1; ++i)); do bytes+=(0); done
}

append() {
  local byte
  for byte; do bytes[at]=$byte at=$(((at + 1) % ${#bytes[@]})); done
}

# entry UNITS LENGTH FIRST PC:TAG...: the descriptor counts up from FIRST
entry() {
  local start=$at i pc record
  append 0x53 0x54 $(($1 & 255)) $(($1 >> 8))
  for ((i = 0; i < $2; ++i)); do append $((($3 + i) & 255)); done
  for record in "${@:4}"; do
    pc=${record%:*}
    append $((pc & 255)) $((pc >> 8)) 0 0 $((start & 255)) $((start >> 8))
    append "$(printf %d "'${record: -2:1}")" "$(printf %d "'${record: -1}")"
  done
}

# log NAME [TOTAL]
log() {
  { little 1 "${bytes[@]}" && little 4 "$at" "${2:-$at}" && head -c 56 /dev/zero; } >"log/$1.bin"
}

ring 192 0x10
entry 1 64 0x80 0x1234:ED
log edma

ring 256 0
entry 1 64 0 0x40:ED
entry 2 128 0x70 0x60:GL
log glsu

ring 1024 0
entry 1 64 0 96:ED
entry 1 128 0x20 608:RB
entry 1 128 0x40 320:NP 352:NP 736:EL 740:EL 900:RL
entry 0 0 0 1000:RL
log ring-buffer-ate
bytes[at - 1]=$(printf %d "'?")
log damaged

ring 256 200
entry 1 64 0 77:ED
log wrapped

# The descriptor's length does not fit into the log, so it is cut; and more was logged than the write offset shows.
ring 236 0
entry 2 220 0 5:RB
log over-sized 1260

# ----------------------------------------------------------------------------------------------------------------------
# Kernel binaries: parcels of 16 bits. 0x0013 heads a word, 0x0001 is a short, 0x001F heads a bundle of three parcels.

little 2 0x0013 0x0000 0x0001 0x001F 0x0040 0xF900 >kernel/with-edma.bin
little 2 0x0013 0x0000 0x0001 0x001F 0x0040 0xF800 >kernel/without-edma.bin
# The marker "prot" ends the instructions; what follows is not scanned.
little 2 0x0013 0x0000 0x7270 0x746F 0x0000 0x001F 0x0040 0xF900 >kernel/stopped.bin
