# shellcheck shell=bash
# Sourced first by each test, so that settings for bash and the usual tools in the caller's environment don't reach it.
# Only the C locale is sure to exist.
set +o posix
unset POSIXLY_CORRECT CDPATH
export LC_ALL=C
