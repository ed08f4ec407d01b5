#!/usr/bin/env bash
# The programs and transcripts in README.md are those in examples/ and what the tool prints: readme.sh TOOL...
set -u
cd "$(dirname "$0")/samples" || exit 2
tool=("$@")
zarn-utility() { "${tool[@]}" "$@"; }

block() { awk -v start="\`\`\`$1" '$0 == start { inside = 1; next } /^```/ { inside = 0 } inside' ../../README.md; }

diff -u <(block c) ../../examples/decode.c && diff -u <(block cpp) ../../examples/decode.cpp || exit 1
transcripts=$(block console | grep -c '^\$ ')
[ "$transcripts" -eq 3 ] || { echo "$transcripts transcripts found, not 3"; exit 1; }
diff -u <(block console) <(block console | grep '^\$ ' | while read -r line; do
  printf '%s\n' "$line"
  eval "${line#\$ }" </dev/null
done)
