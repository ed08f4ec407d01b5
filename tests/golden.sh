#!/usr/bin/env bash
# Runs the commands of a golden file among the samples and compares what they print:
#
#   golden.sh [--update] FILE.txt TOOL...     TOOL... is how zarn-utility is started
#
# A golden file is a transcript: each line "$ COMMAND", then what it wrote to standard output and standard error, then
# "[exit STATUS]". --update rewrites the transcript, to be read line by line before it is committed.
#
# The exit status is 77 if a transcript needs a terminal and the machine can't provide one.
set -u
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/environment.sh"
update=false
[ "$1" != --update ] || { update=true; shift; }
golden=$(realpath "$1")
shift
tool=()
for word in "$@"; do
  [ ! -f "$word" ] || word=$(realpath "$word")
  tool+=("$word")
done
cd "$(dirname "$0")/samples" || exit 2

zarn-utility() { "${tool[@]}" "$@"; }

# Runs zarn-utility with its output going to a terminal.
on-terminal() { terminal "$(printf '%q ' "${tool[@]}" "$@")" | tr -d '\r'; }
terminal() { SHELL=$BASH script -qec "$1" /dev/null </dev/null; }
if grep -q '^\$ .*on-terminal ' "$golden" && ! terminal true; then
  echo "skipped: no pseudo-terminal can be had here"
  exit 77
fi

# The string table of the samples with one more format, and a print buffer with one value for it: VALUE is four bytes as
# printf escapes.
table() { cat print/strings.bin && printf '%s\0' "$1"; }
single() {
  head -c 40 print/single-u32.bin
  # shellcheck disable=SC2059  # the value is escapes
  printf "\\$(printf %o "$(stat -c %s print/strings.bin)")\0\0\0$1"
  tail -c +49 print/single-u32.bin
}

# Descriptor logs: a file with two bytes changed, and parts of logs. `entry` is an eDMA entry of 76 bytes.
zeros() { head -c "$1" /dev/zero; }
# shellcheck disable=SC2059  # the number becomes escapes
u16() { printf "\\$(printf %o $(($1 & 255)))\\$(printf %o $(($1 >> 8)))"; }
patched() { head -c "$2" "$1" && u16 "$3" && tail -c +$(($2 + 3)) "$1"; }             # FILE OFFSET NUMBER
header() { printf ST && u16 "$1"; }                                                   # UNITS
record() { u16 "$1" && u16 0 && u16 "$2" && printf %s "$3"; }                         # PC START TAG
entry() { header 1 && zeros 64 && record "$1" "$2" ED; }                              # PC START
trailer() { u16 "$1" && u16 0 && u16 "$2" && zeros 58; }                              # WRITE-OFFSET TOTAL

transcript() {
  local commands
  mapfile -t commands < <(grep '^\$ ' "$golden")
  for command in "${commands[@]}"; do
    printf '%s\n' "$command"
    (set -o pipefail; eval "${command#\$ }") 2>&1
    printf '[exit %s]\n' $?
  done
}

if $update; then
  new=$(transcript; printf x)
  printf %s "${new%x}" >"$golden"
else
  diff -u "$golden" <(transcript)
fi
