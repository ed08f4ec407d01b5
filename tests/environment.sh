# shellcheck shell=bash
# Sourced first by each test: what the caller's environment asks of bash and of the usual tools doesn't reach the tests.
# No locale but C is sure to exist.
set +o posix
unset POSIXLY_CORRECT CDPATH
export LC_ALL=C
