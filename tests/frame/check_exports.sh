#!/usr/bin/env bash
# Checks that a shared library exports exactly the symbols listed in a file.
# usage: check_exports.sh LIBRARY EXPECTED_LIST
set -euo pipefail
library=$1
expected=$2
actual=$(nm -D --defined-only "$library" | awk 'NF == 3 { print $3 }' | sort)
wanted=$(grep -v -e '^#' -e '^$' "$expected" | sort)
if [ "$actual" != "$wanted" ]; then
  echo "exported symbols differ from $expected (< exported, > expected):"
  diff <(echo "$actual") <(echo "$wanted") || true
  exit 1
fi
echo "$(echo "$wanted" | wc -l) exports, as expected"
