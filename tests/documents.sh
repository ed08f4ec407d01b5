#!/usr/bin/env bash
# Checks that the transcripts in the documents are what the tool prints, and that docs/design.md lists the names of all
# behaviour that the code marks as deliberate: documents.sh TOOL...
#
# README.md's transcripts run as typed in the project's folder. Those of formats.md and the man page, which are
# installed, run among the samples.
set -u
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/environment.sh"
cd "$(dirname "$0")/.." || exit 2
tool=("$@")
# shellcheck disable=SC2317  # called through eval
zarn-utility() { "${tool[@]}" "$@"; }

# transcripts DOCUMENT
transcripts() {
  case $1 in
    *.md) awk '/^```console$/ { inside = 1; next } /^```/ { inside = 0 } inside' "$1" ;;
    *) awk '/^[.]Bd -literal -offset indent$/ { inside = 1; next } /^[.]Ed$/ { inside = 0 } inside' "$1" ;;
  esac
}

status=0
for document in README.md docs/formats.md tools/zarn-utility.1.in; do
  directory=tests/samples
  [ $document != README.md ] || directory=.
  expected=$(transcripts $document)
  diff -u <(printf '%s\n' "$expected") <(cd $directory && grep '^\$ ' <<<"$expected" | while read -r line; do
    printf '%s\n' "$line"
    line=${line#\$ }
    eval "${line#build/release/tools/}" </dev/null
  done) || status=1
  grep -q '^\$ ' <<<"$expected" || { echo "$document has no transcript"; status=1; }
done

diff -u <(grep -rhoP 'Deliberate \(design\.md, "\K[^"]+' src | sort -u) \
  <(sed -n 's/^- \*\*\(.*\)\*\*.*/\1/p' docs/design.md | sort) || status=1
exit $status
