#!/bin/sh
# Runs a command as a hostile-input case: under a memory cap and a time
# limit, so a runaway allocation or a hang fails the case instead of the
# machine. A sanitizer build cannot run under `ulimit -v` (its shadow memory
# is reserved up front), so there the allocator itself is capped: an
# allocation above the limit returns null, and a process whose resident size
# passes the hard limit is stopped.
#   run_capped.sh SANITIZED(0|1) SECONDS COMMAND [ARGS...]
set -eu
sanitized=$1
seconds=$2
shift 2
cap_mb=2048
if [ "$sanitized" = 1 ]; then
  ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}allocator_may_return_null=1:max_allocation_size_mb=$cap_mb:hard_rss_limit_mb=$cap_mb"
  export ASAN_OPTIONS
else
  ulimit -v $((cap_mb * 1024 * 2))
fi
exec timeout --kill-after=5 "$seconds" "$@"
