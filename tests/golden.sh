#!/usr/bin/env bash
# Runs the commands of a golden file among the samples and compares what they print:
#
#   golden.sh [--update] FILE.txt TOOL...     TOOL... is how zarn-utility is started
#
# A golden file is a transcript: each line "$ COMMAND", then what it wrote to standard output and standard error, then
# "[exit STATUS]". --update writes the transcript anew, to be read line by line before it is committed.
set -u
update=false
[ "$1" != --update ] || { update=true; shift; }
golden=$(realpath "$1")
shift
tool=("$@")
cd "$(dirname "$0")/samples" || exit 2

zarn-utility() { "${tool[@]}" "$@"; }

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
