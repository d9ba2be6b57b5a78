#!/usr/bin/env bash
# What `make demo` does, checked: the sample photographs are corrected and
# their report renders in headless Chromium with its pictures and plots.
# Usage: demo_report_test.sh TOOL PHOTOS_FOLDER WORK_FOLDER
set -euo pipefail
tool=$1 photos=$2 work=$3
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
"$tool" autosetup "$photos" --jobs 2 --out-dir "$work/out" --report "$work/report.html"
count=$(find "$photos" -maxdepth 1 -iname '*.jp*g' | wc -l)
written=$(find "$work/out" -maxdepth 1 -name '*.jpg' | wc -l)
[[ $written -eq $count ]] || { echo "FAIL: $written of $count pictures written" >&2; exit 1; }
exec "$here/check_report_renders.sh" -o "$work/report.png" "$work/report.html" "$count" 0
