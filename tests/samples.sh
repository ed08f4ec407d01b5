#!/usr/bin/env bash
# The samples in samples/ are what their generator writes: samples.sh GENERATOR...
set -eu
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/environment.sh"
fresh=$(mktemp -d)
trap 'rm -rf "$fresh"' EXIT
"$@" "$fresh"
cd "$(dirname "$0")/samples"
for kind in "$fresh"/*; do diff -r "$kind" "$(basename "$kind")"; done
