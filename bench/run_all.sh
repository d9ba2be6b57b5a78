#!/usr/bin/env bash
# Runs every benchmark program of a Release build and the command-line
# tool's comparison, and writes bench/RESULTS.md: each figure with its ratio
# and spread, the machine (lscpu's model name), the compiler and the date.
#
# Usage: bench/run_all.sh [BUILD]   (default build-bench, as `make bench`)
# Environment: RESULTS=FILE writes there instead of bench/RESULTS.md.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/.." && pwd)
build=${1:-$root/build-bench}
results=${RESULTS:-$here/RESULTS.md}
rows=$(mktemp "${TMPDIR:-/tmp}/zkimgset-results.XXXXXX")
cli_log=$(mktemp "${TMPDIR:-/tmp}/zkimgset-cli.XXXXXX")
trap 'rm -f "$rows" "$cli_log"' EXIT

shopt -s nullglob
programs=("$build"/bin/zkimgset_bench_*)
((${#programs[@]})) || { echo "run_all: no benchmark programs in $build/bin" >&2; exit 1; }

status=0
for program in "${programs[@]}"; do
  echo "== ${program##*/}"
  ZKIMGSET_BENCH_RESULTS=$rows "$program" || status=1
done
echo "== bench/cli_autosetup.sh"
"$here/cli_autosetup.sh" "$build/bin/zkimgset" | tee "$cli_log" || status=1
echo "== bench/dask_batch.py"
dask_log=$(mktemp "${TMPDIR:-/tmp}/zkimgset-dask.XXXXXX")
review_log=$(mktemp "${TMPDIR:-/tmp}/zkimgset-review.XXXXXX")
trap 'rm -f "$rows" "$cli_log" "$dask_log" "$review_log"' EXIT
/usr/bin/python3 "$here/dask_batch.py" "$build" | tee "$dask_log" || status=1
echo "== bench/review_page.py"
/usr/bin/python3 "$here/review_page.py" "$build" | tee "$review_log" || status=1

model=$(lscpu 2>/dev/null | sed -n 's/^Model name:[[:space:]]*//p' | head -n 1)
{
  echo "# Benchmark results"
  echo
  echo "Written by \`make bench\` (bench/run_all.sh); do not edit by hand."
  echo
  echo "- Date: $(date -u '+%Y-%m-%d %H:%M UTC')"
  echo "- Machine: ${model:-unknown}, $(nproc) cores, $(uname -sr)"
  echo "- Compiler: $(c++ --version | head -n 1); Release build, one thread"
  echo "- Commit: $(git -C "$root" rev-parse --short HEAD 2>/dev/null || echo unknown)"
  echo
  echo "Each figure runs ours and the other side in turn for several rounds (the"
  echo "order alternating), each round on fresh input, after one untimed round."
  echo "Times are medians of the rounds; the ratio is the median of the per-round"
  echo "ratios ours / other, with their smallest and largest in brackets: below 1"
  echo "we are faster. Outputs are checked before timing, as the last column says."
  echo
  echo "| figure | ours | other | ours / other (min-max) | other side | output check |"
  echo "| --- | --- | --- | --- | --- | --- |"
  cat "$rows"
  echo
  echo "## The command-line tool against ImageMagick (bench/cli_autosetup.sh)"
  echo
  echo '```'
  cat "$cli_log"
  echo '```'
  echo
  echo "## A Dask cluster against the command-line tool (bench/dask_batch.py)"
  echo
  echo '```'
  cat "$dask_log"
  echo '```'
  echo
  echo "## The review page of 200 photographs (bench/review_page.py)"
  echo
  echo '```'
  cat "$review_log"
  echo '```'
} >"$results"
echo "wrote ${results#"$root"/}"
exit $status
