#!/usr/bin/env bash
# Renders a report page in headless Chromium and checks that it shows what it
# should: every thumbnail is an inline JPEG that decodes at its stated size,
# each picture has its three charts, the page fetches nothing from elsewhere,
# and the screenshot is not blank.
#
# Usage: check_report_renders.sh [-o SCREENSHOT.png] REPORT.html [PICTURES [FAILURES]]
#   PICTURES, FAILURES  the number of picture and failure sections expected
#                       (unchecked when left out)
#   -o FILE             keep the screenshot there
# Exits 0 when all checks pass, 1 when one fails, 2 on bad usage, and 77 (the
# test harness's "skipped") when Chromium or ImageMagick is not installed.
set -euo pipefail

usage() {
  echo "usage: $0 [-o SCREENSHOT.png] REPORT.html [PICTURES [FAILURES]]" >&2
  exit 2
}

keep_screenshot=""
while getopts "o:" option; do
  case $option in
    o) keep_screenshot=$OPTARG ;;
    *) usage ;;
  esac
done
shift $((OPTIND - 1))
[[ $# -ge 1 && $# -le 3 ]] || usage
report=$1
want_pictures=${2:-}
want_failures=${3:-}
[[ -f $report ]] || { echo "FAIL: no report at $report" >&2; exit 1; }

browser=""
for candidate in chromium chromium-browser; do
  if command -v "$candidate" >/dev/null 2>&1; then browser=$candidate; break; fi
done
if [[ -z $browser ]]; then echo "SKIP: chromium is not installed" >&2; exit 77; fi
if ! command -v identify >/dev/null 2>&1; then
  echo "SKIP: ImageMagick's identify is not installed" >&2
  exit 77
fi

failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
pass() { echo "ok: $*"; }
count() { grep -o -- "$1" "$2" | wc -l || true; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
url="file://$(cd "$(dirname "$report")" && pwd)/$(basename "$report")"

# Every host name resolves to nothing, so a page that reaches out for an asset
# renders without it instead of quietly fetching it.
run_browser() {
  timeout 120 "$browser" --headless --no-sandbox --disable-gpu --disable-dev-shm-usage \
    --no-first-run --no-default-browser-check --hide-scrollbars --mute-audio \
    --host-resolver-rules="MAP * ~NOTFOUND" --user-data-dir="$work/profile" "$@" "$url"
}

# ---- The page as written -------------------------------------------------------
for forbidden in "http://" "https://" "<script" "<link" "@import" "url("; do
  if grep -qiF -- "$forbidden" "$report"; then fail "the page contains \"$forbidden\""; fi
done

# ---- The page as Chromium parsed it --------------------------------------------
if ! run_browser --dump-dom >"$work/dom.html" 2>"$work/dom.log" || [[ ! -s $work/dom.html ]]; then
  cat "$work/dom.log" >&2
  echo "FAIL: Chromium could not load $report" >&2
  exit 1
fi
pictures=$(count '<section class="card picture"' "$work/dom.html")
failed=$(count '<section class="card failure"' "$work/dom.html")
images=$(count '<img src="data:image/jpeg;base64,' "$work/dom.html")
all_images=$(count '<img ' "$work/dom.html")
charts=$(count '<svg class="plot ' "$work/dom.html")
outlines=$(count '<svg class="outline"' "$work/dom.html")
echo "page: $pictures picture(s), $failed failure(s), $images inline JPEG(s)," \
  "$charts chart(s), $outlines subject outline(s)"

[[ -z $want_pictures || $pictures -eq $want_pictures ]] ||
  fail "expected $want_pictures picture section(s), found $pictures"
[[ -z $want_failures || $failed -eq $want_failures ]] ||
  fail "expected $want_failures failure section(s), found $failed"
[[ $((pictures + failed)) -gt 0 || $want_pictures == 0 ]] || fail "the page has no sections"
[[ $all_images -eq $images ]] || fail "$((all_images - images)) image(s) are not inline JPEGs"
[[ $images -eq $((2 * pictures)) ]] ||
  fail "expected 2 thumbnails per picture ($((2 * pictures))), found $images"
[[ $charts -eq $((3 * pictures)) ]] ||
  fail "expected 3 charts per picture ($((3 * pictures))), found $charts"
[[ $outlines -le $pictures ]] || fail "more subject outlines ($outlines) than pictures"
grep -q '<title>ZKImgSet automatic set-up report</title>' "$work/dom.html" ||
  fail "the page has not its title"

# Each thumbnail must decode as a JPEG of the size its tag states, or the
# browser shows a broken image that the DOM alone would not reveal.
index=0
decoded_ok=0
while IFS= read -r tag; do
  index=$((index + 1))
  width=$(sed -n 's/.* width="\([0-9]*\)".*/\1/p' <<<"$tag")
  height=$(sed -n 's/.* height="\([0-9]*\)".*/\1/p' <<<"$tag")
  decoded=$(sed 's/.*base64,\([A-Za-z0-9+\/=]*\)".*/\1/' <<<"$tag" | base64 -d 2>/dev/null |
    identify -format '%m %w %h' - 2>/dev/null || true)
  if [[ $decoded == "JPEG $width $height" ]]; then
    decoded_ok=$((decoded_ok + 1))
  else
    fail "thumbnail $index: tag says ${width}x${height}, data is '${decoded:-not an image}'"
  fi
done < <(grep -o '<img [^>]*>' "$work/dom.html" || true)
[[ $decoded_ok -eq 0 ]] || pass "$decoded_ok of $index thumbnail(s) decode at their stated sizes"

# ---- The rendering -------------------------------------------------------------
shot=$work/screenshot.png
run_browser --screenshot="$shot" --window-size=1280,1800 >"$work/shot.log" 2>&1 || true
if [[ ! -s $shot ]]; then
  cat "$work/shot.log" >&2
  fail "Chromium wrote no screenshot"
else
  read -r format size spread colours < <(identify -format \
    '%m %wx%h %[fx:standard_deviation] %k\n' "$shot" 2>/dev/null | head -n 1) || true
  echo "screenshot: ${format:-?} ${size:-?}, spread ${spread:-?}, ${colours:-?} colours"
  [[ ${format:-} == PNG ]] || fail "the screenshot is not a PNG"
  # A blank page is one flat colour; text alone gives a little spread and a few
  # hundred anti-aliasing shades, photographs and tinted charts thousands.
  awk -v s="${spread:-0}" 'BEGIN { exit !(s > 0.03) }' || fail "the screenshot is blank"
  if [[ $pictures -gt 0 && ${colours:-0} -lt 2000 ]]; then
    fail "the screenshot has only ${colours:-0} colours: pictures or charts did not render"
  fi
  if [[ -n $keep_screenshot ]]; then cp "$shot" "$keep_screenshot"; fi
fi

if [[ $failures -gt 0 ]]; then
  echo "$failures check(s) failed for $report" >&2
  exit 1
fi
echo "PASS: $report renders"
