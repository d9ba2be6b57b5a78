#!/usr/bin/env bash
# Times `zkimgset autosetup` against ImageMagick's `convert -auto-level
# -auto-gamma` on one 24-megapixel (6000 x 4000) JPEG, one thread each.
#
# Both sides pay for the whole job a user waits for: decode the JPEG, find and
# apply the correction, encode a JPEG at quality 95. The input is a real
# photograph from examples/photos/ upscaled to 6000 x 4000 (quality 92, Exif
# kept), made afresh in a temporary folder on every run.
#
# After one warm-up run of each, the two commands take turns RUNS times, so
# that a slow spell of the machine falls on both alike. Wall-clock times are
# printed as median and minimum per command, then
#
#   ratio ours/imagemagick: X.XX (min-max Y.YY-Z.ZZ over RUNS rounds)
#
# the median of the per-round ratios (each round runs both), and their
# spread.
# Below 1.00 we are faster (0.50: twice as fast); above 1.00 ImageMagick is.
# The two corrections are not the same algorithm, so the ratio compares the
# cost of a comparable job, not of identical output.
#
# Then a batch as a print lab runs it: 40 real camera JPEGs (the ten largest
# of tests/data/exif/real/ that decode without a warning, four copies each, 2 to 8 megapixels, Exif kept)
# corrected by `autosetup --jobs 2 --out-dir`, RUNS times, printed as
# megapixels a second (median and best). With BASELINE=TOOL2 the same batch
# is run by TOOL2 in turns with TOOL, their outputs are compared byte for
# byte (or, when the two write different metadata, pixel for pixel), and the
# ratio of throughputs is printed:
#
#   batch ratio ours/baseline: X.XX (min-max ...)   (throughput, per round;
#                                                   above 1.00 is faster)
#
# Usage: bench/cli_autosetup.sh [TOOL] [RUNS]
#   TOOL  the zkimgset binary; default build-bench/bin/zkimgset if it exists,
#         else build/bin/zkimgset (both under the repository root); "" for
#         the default
#   RUNS  timed runs of each command, default 5
# Environment: PHOTO=FILE.jpg picks the source photograph (default: the first
# of examples/photos/*.jpg by name); BASELINE=TOOL2 compares the batch with
# another build of the tool; BATCH_ONLY=1 skips the ImageMagick comparison.
# Needs ImageMagick (Debian package imagemagick: `make bench-deps`); without
# it the script says "skipped" and exits 0.

set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/.." && pwd)

usage() {
  sed -n 's/^# \{0,1\}//; /^Usage:/,/^Needs/p' "${BASH_SOURCE[0]}" | sed '$d'
}
die() {
  echo "cli_autosetup: $*" >&2
  exit 1
}

case ${1:-} in
  -h | --help) usage; exit 0 ;;
esac
(($# <= 2)) || { usage >&2; exit 2; }

if [[ -n ${1:-} ]]; then
  tool=$1
elif [[ -e $root/build-bench/bin/zkimgset ]]; then
  tool=$root/build-bench/bin/zkimgset
else
  tool=$root/build/bin/zkimgset
fi
runs=${2:-5}
[[ $runs =~ ^[1-9][0-9]*$ ]] || die "RUNS must be a positive whole number, not '$runs'"

# ImageMagick. A `convert` that is a script passing its arguments on (some
# machines have one early in PATH) would add an interpreter's start-up to every
# timed run, so the first real executable in PATH wins.
find_magick() {
  local name=$1 c fallback=""
  while IFS= read -r c; do
    [[ $("$c" -version 2>/dev/null || true) == 'Version: ImageMagick'* ]] || continue
    if [[ $(head -c 2 "$c") != '#!' ]]; then
      echo "$c"
      return 0
    fi
    [[ -n $fallback ]] || fallback=$c
  done < <(type -ap "$name" || true)
  [[ -n $fallback ]] && echo "$fallback"
}
convert=$(find_magick convert) || true
identify=$(find_magick identify) || true
if [[ -z $convert || -z $identify ]]; then
  echo "skipped: ImageMagick's convert and identify are not installed (make bench-deps installs them)"
  exit 0
fi
if [[ $(head -c 2 "$convert") == '#!' ]]; then
  echo "note: $convert is a script; its start-up is timed along with ImageMagick"
fi

[[ -f $tool && -x $tool ]] ||
  die "no executable zkimgset at $tool (make build, or pass TOOL)"

# The source photograph.
shopt -s nullglob nocaseglob
if [[ -n ${PHOTO:-} ]]; then
  [[ -f $PHOTO ]] || die "PHOTO=$PHOTO does not exist"
  source_photo=$PHOTO
else
  photos=("$root"/examples/photos/*.jpg)
  if ((${#photos[@]})); then
    source_photo=${photos[0]}
  else
    # Until examples/photos/ has camera photographs, the largest JPEG among
    # the Exif test files stands in: the most bytes is the most detail.
    source_photo=$(find "$root/tests/data/exif" -path '*/malformed' -prune -o \
      -type f \( -iname '*.jpg' -o -iname '*.jpeg' \) -printf '%s %p\n' |
      sort -rn | sed -n '1s/^[0-9]* //p')
    [[ -n $source_photo ]] || die "no JPEG in examples/photos/ nor in tests/data/exif/"
    echo "note: examples/photos/ has no photograph yet; using ${source_photo#"$root"/} instead"
  fi
fi
shopt -u nullglob nocaseglob

tmp=$(mktemp -d "${TMPDIR:-/tmp}/zkimgset-bench.XXXXXX")
trap 'rm -rf "$tmp"' EXIT
in=$tmp/in.jpg
out_ours=$tmp/out_ours.jpg
out_im=$tmp/out_im.jpg

# Upright first, so that neither side turns a portrait photograph on reading
# its Exif orientation and the outputs can be checked for 6000 x 4000.
"$convert" "$source_photo" -auto-orient -resize '6000x4000!' -quality 92 "$in" ||
  die "ImageMagick could not make the 24 MP input from $source_photo"

# True if FILE is a 6000 x 4000 JPEG.
is_24mp_jpeg() {
  [[ -f $1 && $("$identify" -ping -format '%m %w %h' "$1" 2>/dev/null) == 'JPEG 6000 4000' ]]
}
is_24mp_jpeg "$in" || die "the generated input is not a 6000x4000 JPEG"
if [[ -n $("$identify" -format '%[exif:*]' "$in" 2>/dev/null) ]]; then exif=kept; else exif=none; fi

echo "source:  ${source_photo#"$root"/}"
echo "input:   6000x4000 JPEG, $(stat -c %s "$in") bytes, quality 92, Exif $exif"
echo "ours:    $tool"
echo "theirs:  $convert ($("$convert" -version | sed -n '1s/^Version: //p'))"
echo "runs:    1 warm-up + $runs timed each, alternating"
echo

run_ours() {
  "$tool" autosetup --jobs 1 "$in" -o "$out_ours"
}
run_im() {
  MAGICK_THREAD_LIMIT=1 OMP_NUM_THREADS=1 \
    "$convert" -limit thread 1 "$in" -auto-level -auto-gamma -quality 95 "$out_im"
}

# time_run NAME FUNCTION OUTPUT: runs FUNCTION once, checks it, prints its
# wall-clock nanoseconds.
time_run() {
  local name=$1 fn=$2 out=$3 log=$tmp/$2.log start end status=0
  rm -f "$out"
  start=$(date +%s%N)
  "$fn" >"$log" 2>&1 || status=$?
  end=$(date +%s%N)
  if ((status != 0)); then
    cat "$log" >&2
    die "$name failed (exit $status)"
  fi
  [[ -f $out ]] || die "$name exited 0 but wrote no $(basename "$out")"
  is_24mp_jpeg "$out" || die "$name wrote $(basename "$out"), which is not a 6000x4000 JPEG" \
    "($("$identify" -ping -format '%m %wx%h' "$out" 2>&1 | sed -n 1p))"
  echo $((end - start))
}

# ---- The batch ----------------------------------------------------------------

batch_dir=$tmp/batch
mkdir -p "$batch_dir/in"
# The largest that decode without a libjpeg warning, so that a build that
# fails a damaged picture and one that corrects it do the same work.
batch_sources=()
while IFS= read -r src; do
  "$identify" -regard-warnings "$src" >/dev/null 2>&1 && batch_sources+=("$src")
  ((${#batch_sources[@]} < 10)) || break
done < <(find "$root/tests/data/exif/real" -type f -iname '*.jpg' -printf '%s %p\n' |
  sort -rn | sed 's/^[0-9]* //')
((${#batch_sources[@]} == 10)) || die "fewer than ten JPEGs in tests/data/exif/real/"
batch_pixels=0
for ((copy = 0; copy < 4; copy++)); do
  for src in "${batch_sources[@]}"; do
    cp "$src" "$batch_dir/in/$copy-$(basename "$src")"
    read -r w h < <("$identify" -ping -format '%w %h\n' "$src" | sed -n 1p)
    batch_pixels=$((batch_pixels + w * h))
  done
done

# run_batch TOOL OUT: one timed batch; prints its nanoseconds.
run_batch() {
  local tool=$1 out=$2 start end
  rm -rf "$out"
  start=$(date +%s%N)
  "$tool" autosetup --jobs 2 "$batch_dir/in" --out-dir "$out" >"$tmp/batch.log" 2>&1 ||
    { cat "$tmp/batch.log" >&2; die "$tool failed on the batch"; }
  end=$(date +%s%N)
  echo $((end - start))
}
# "median (min-max)" of the per-round ratios a[i] / b[i] of two lists of
# times given as "a1 a2 ... -- b1 b2 ...".
ratio_stats() {
  printf '%s\n' "$@" | awk '
    $1 == "--" { second = 1; next }
    { if (second) b[++nb] = $1; else a[++na] = $1 }
    END {
      n = na
      for (i = 1; i <= n; i++) {
        v = a[i] / b[i]
        for (j = i; j > 1 && r[j - 1] > v; j--) r[j] = r[j - 1]
        r[j] = v
      }
      m = n % 2 ? r[(n + 1) / 2] : (r[n / 2] + r[n / 2 + 1]) / 2
      printf "%.2f (min-max %.2f-%.2f over %d rounds)\n", m, r[1], r[n], n
    }'
}
# "median best" throughput in megapixels a second from nanosecond times.
stats_mps() {
  printf '%s\n' "$@" | sort -n | awk -v px="$batch_pixels" '
    { t[NR] = $1 }
    END {
      m = NR % 2 ? t[(NR + 1) / 2] : (t[NR / 2] + t[NR / 2 + 1]) / 2
      printf "%.1f %.1f\n", px / m * 1e3, px / t[1] * 1e3
    }'
}
batch() {
  echo "batch:   40 camera JPEGs, $((batch_pixels / 1000000)) megapixels, autosetup --jobs 2"
  run_batch "$tool" "$batch_dir/ours" >/dev/null
  [[ -n ${BASELINE:-} ]] && run_batch "$BASELINE" "$batch_dir/base" >/dev/null
  local b_ours=() b_base=()
  for ((i = 0; i < runs; i++)); do
    b_ours+=("$(run_batch "$tool" "$batch_dir/ours")")
    [[ -n ${BASELINE:-} ]] && b_base+=("$(run_batch "$BASELINE" "$batch_dir/base")")
  done
  local ours_mps ours_best base_mps base_best
  read -r ours_mps ours_best < <(stats_mps "${b_ours[@]}")
  printf '%-34s %10s %10s\n' 'batch' 'median MP/s' 'best MP/s'
  printf '%-34s %10s %10s\n' 'ours' "$ours_mps" "$ours_best"
  if [[ -n ${BASELINE:-} ]]; then
    read -r base_mps base_best < <(stats_mps "${b_base[@]}")
    printf '%-34s %10s %10s\n' 'baseline' "$base_mps" "$base_best"
    if diff -r "$batch_dir/ours" "$batch_dir/base" >/dev/null; then
      echo "outputs: identical bytes"
    else
      # A build that writes other metadata (segments added or left out)
      # must still write the same pictures.
      local f
      for f in "$batch_dir/ours"/*; do
        [[ $("$identify" -format '%#' "$f") == $("$identify" -format '%#' "$batch_dir/base/${f##*/}") ]] ||
          die "the baseline wrote different pixels in ${f##*/}"
      done
      echo "outputs: identical pixels (the files differ in their metadata)"
    fi
    echo "batch ratio ours/baseline: $(ratio_stats "${b_base[@]}" -- "${b_ours[@]}")"
  fi
}
if [[ -n ${BATCH_ONLY:-} ]]; then
  batch
  exit 0
fi

time_run zkimgset run_ours "$out_ours" >/dev/null
time_run ImageMagick run_im "$out_im" >/dev/null
ours=()
im=()
for ((i = 0; i < runs; i++)); do
  ours+=("$(time_run zkimgset run_ours "$out_ours")")
  im+=("$(time_run ImageMagick run_im "$out_im")")
done

# "median min" of nanosecond times, in milliseconds.
stats_ms() {
  printf '%s\n' "$@" | sort -n | awk '
    { t[NR] = $1 }
    END {
      m = NR % 2 ? t[(NR + 1) / 2] : (t[NR / 2] + t[NR / 2 + 1]) / 2
      printf "%.1f %.1f\n", m / 1e6, t[1] / 1e6
    }'
}
read -r ours_median ours_min < <(stats_ms "${ours[@]}")
read -r im_median im_min < <(stats_ms "${im[@]}")

printf '%-34s %10s %10s\n' command 'median ms' 'min ms'
printf '%-34s %10s %10s\n' 'zkimgset autosetup --jobs 1' "$ours_median" "$ours_min"
printf '%-34s %10s %10s\n' 'convert -auto-level -auto-gamma' "$im_median" "$im_min"
echo "ratio ours/imagemagick: $(ratio_stats "${ours[@]}" -- "${im[@]}")"
echo
batch
