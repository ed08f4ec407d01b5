#!/usr/bin/env bash
# The transcripts in the documents are what the tool prints, and docs/design.md lists the names of all behaviour that the
# code marks as deliberate: documents.sh TOOL...
set -u
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/environment.sh"
cd "$(dirname "$0")/.." || exit 2
tool=("$@")
# shellcheck disable=SC2317  # called through eval
zarn-utility() { "${tool[@]}" "$@"; }

status=0
for document in README.md docs/formats.md; do
  transcripts=$(awk '/^```console$/ { inside = 1; next } /^```/ { inside = 0 } inside' "$document")
  diff -u <(printf '%s\n' "$transcripts") <(grep '^\$ ' <<<"$transcripts" | while read -r line; do
    printf '%s\n' "$line"
    eval "${line#\$ build/release/tools/}" </dev/null
  done) || status=1
  grep -q '^\$ ' <<<"$transcripts" || { echo "$document has no transcript"; status=1; }
done

diff -u <(grep -rhoP 'Deliberate \(design\.md, "\K[^"]+' src | sort -u) \
  <(sed -n 's/^- \*\*\(.*\)\*\*.*/\1/p' docs/design.md | sort) || status=1
exit $status
