#!/usr/bin/env bash
# Checks that the samples in samples/ are what make_samples.sh writes.
set -eu
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/environment.sh"
fresh=$(mktemp -d)
trap 'rm -rf "$fresh"' EXIT
cd "$(dirname "$0")"
./make_samples.sh "$fresh"
diff -r "$fresh" samples
