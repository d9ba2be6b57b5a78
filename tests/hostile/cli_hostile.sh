#!/usr/bin/env bash
# The tool against devices, FIFOs, huge files and symbolic links, as inputs
# and as outputs. Each row of the table runs the tool under a time limit of
# its own (a blocking open fails the row instead of hanging the run) and
# checks its exit status, a fragment of its messages and what is left on disk.
#   cli_hostile.sh TOOL SCRATCH_FOLDER
set -u
tool_path=$1 s=$2
photo=$(cd "$(dirname "$0")/../../examples/photos" && pwd)/dark-party.jpg
# The largest input the tool reads: an uncompressed 6144 x 6144 16-bit RGBA
# PNG and 64 MiB of room (cli/core/tool_limits.h).
limit=369104896

rm -rf "$s" && mkdir -p "$s/folder" "$s/out" || exit 1
cp "$photo" "$s/real.jpg" && cp "$photo" "$s/folder/good.jpg" || exit 1
mkfifo "$s/pipe.jpg" "$s/folder/pipe.jpg" "$s/no-reader.jpg" "$s/with-reader.jpg" || exit 1
truncate -s $((limit + 1)) "$s/over-limit.jpg" && truncate -s $limit "$s/at-limit.jpg" || exit 1
echo "not a picture yet" >"$s/target.jpg"
ln -s target.jpg "$s/link.jpg" && ln -s missing.jpg "$s/dangling.jpg" &&
  ln -s real.jpg "$s/in-place-link.jpg" || exit 1
# TIFF headers that claim more than they hold: a 100000 x 100000 picture, and
# a 100 x 100 one in 65536 x 65536 tiles. A hot folder with a FIFO in it.
mkdir -p "$s/hot" "$s/hot-out" "$s/fifo-journal" && mkfifo "$s/hot/pipe.jpg" || exit 1
mkfifo "$s/fifo-journal/.zkimgset-watch.journal" || exit 1
# A review's decisions: the file itself a FIFO or empty, or accepting an
# output that is a device; a review page written to a FIFO or a dangling link.
mkfifo "$s/decisions.json" "$s/page.html" && : >"$s/empty.json" && ln -s gone.html "$s/dangling.html" || exit 1
printf '{"type":"zkimgset-decisions","version":1,"base":"/","report":null,"settings":{"mode":223,
"level":100,"contrast":0,"saturation":0,"blue_shift":0,"red_shift":0,"exif":true,"quality":95},
"pictures":[{"file":null,"output":"dev/zero","name":"a.jpg","format":"jpeg","decision":"accept"}]}' \
  >"$s/accept-zero.json" || exit 1
python3 -c 'import sys; open(sys.argv[1], "w").write("[" + "0," * 1000000 + "0]")' "$s/many.json" || exit 1
# tiff NAME ENTRIES...: a little-endian TIFF whose first directory holds
# the entries "tag type value" (each a count of 1).
tiff() {
  python3 - "$@" <<'PY'
import struct, sys
name, entries = sys.argv[1], [tuple(map(int, e.split())) for e in sys.argv[2:]]
ifd = struct.pack('<H', len(entries))
for tag, kind, value in sorted(entries):
    ifd += struct.pack('<HHI', tag, kind, 1) + (struct.pack('<HH', value, 0) if kind == 3 else struct.pack('<I', value))
open(name, 'wb').write(b'II*\0' + struct.pack('<I', 8) + ifd + b'\0' * 4 + b'\0' * 64)
PY
}
tiffs=0
tiff "$s/huge.tif" "256 4 100000" "257 4 100000" "258 3 8" "259 3 1" "262 3 2" "277 3 3" \
  "273 4 200" "278 4 100000" "279 4 64" 2>/dev/null &&
  tiff "$s/tiles.tif" "256 4 100" "257 4 100" "258 3 8" "259 3 1" "262 3 2" "277 3 3" \
    "322 4 65536" "323 4 65536" "324 4 200" "325 4 64" 2>/dev/null && tiffs=1
# Device nodes need root, a socket needs Python: without them, their rows are
# skipped.
devices=0 sockets=0
mknod "$s/folder/null.jpg" c 1 3 2>/dev/null && mknod "$s/block.jpg" b 7 0 2>/dev/null && devices=1
python3 -c 'import socket, sys; socket.socket(socket.AF_UNIX).bind(sys.argv[1])' \
  "$s/socket.jpg" 2>/dev/null && sockets=1

tool() { timeout --kill-after=2 30 "$tool_path" "$@"; }

# with_reader FIFO OUT ARGS...: the tool writing into FIFO while cat copies
# it to OUT. Nothing tells when cat waits in its open, so the tool is tried
# again while it finds no reader yet.
with_reader() {
  local fifo=$1 out=$2 text status tries=0
  shift 2
  timeout 30 cat "$fifo" >"$out" &
  local reader=$!
  while :; do
    text=$(tool "$@" 2>&1)
    status=$?
    [[ $text == *"no reader"* ]] && ((++tries < 50)) || break
    sleep 0.1
  done
  wait "$reader"
  printf '%s\n' "$text"
  return "$status"
}

failed=0
# row CASE STATUS FRAGMENT CHECK COMMAND...: CHECK is evaluated afterwards.
row() {
  local name=$1 want=$2 fragment=$3 check=$4 text status
  shift 4
  text=$("$@" 2>&1)
  status=$?
  local problem=""
  [[ $status -eq $want ]] || problem="exit status $status, expected $want"
  [[ $text == *"$fragment"* ]] || problem+="${problem:+; }no \"$fragment\" in the messages"
  eval "$check" || problem+="${problem:+; }afterwards, not $check"
  if [[ -n $problem ]]; then
    printf 'FAIL %s: %s\n%s\n' "$name" "$problem" "$text"
    failed=1
  else
    echo "ok   $name"
  fi
}
# row_if FLAG CASE ...: the row when FLAG is 1.
row_if() {
  if [[ $1 == 1 ]]; then row "${@:2}"; else echo "skip $2 (cannot be made here)"; fi
}

#      case                      status  message fragment / state afterwards / command
row    zero-input                1 "/dev/zero: not a regular file (a character device)" \
       '[[ ! -e $s/o.jpg ]]'     tool autosetup /dev/zero -o "$s/o.jpg"
row    urandom-analyse           1 "/dev/urandom: not a regular file (a character device)" \
       true                      tool analyse /dev/urandom
row    fifo-input                1 "pipe.jpg: not a regular file (a FIFO)" \
       '[[ -p $s/pipe.jpg && ! -e $s/o.jpg ]]' tool autosetup "$s/pipe.jpg" -o "$s/o.jpg"
row    fifo-table                1 "pipe.jpg: BAD: not a regular file (a FIFO)" \
       '[[ -p $s/pipe.jpg ]]'    tool tables "$s/pipe.jpg"
row    over-limit                1 "too large ($((limit + 1)) bytes; at most $limit bytes)" \
       '[[ ! -e $s/o.jpg ]]'     tool autosetup "$s/over-limit.jpg" -o "$s/o.jpg"
row    at-limit                  1 "at-limit.jpg: not a picture (neither JPEG, PNG nor TIFF)" \
       '[[ ! -e $s/o.jpg ]]'     tool autosetup "$s/at-limit.jpg" -o "$s/o.jpg"
row    fifo-in-folder            1 "folder/pipe.jpg: not a regular file (a FIFO)" \
       '[[ $(ls -A $s/out) == good.jpg ]]' tool autosetup "$s/folder" --out-dir "$s/out"
row_if $devices device-in-folder 1 "folder/null.jpg: not a regular file (a character device)" \
       '[[ $(ls -A $s/out) == good.jpg ]]' tool autosetup "$s/folder" --out-dir "$s/out"
row    dev-null-output           0 "Corrected 1 of 1" \
       '[[ -c /dev/null ]]'      tool autosetup "$photo" -o /dev/null
row    fifo-output-no-reader     1 "no-reader.jpg: no reader on the FIFO" \
       '[[ -p $s/no-reader.jpg ]]' tool autosetup "$photo" -o "$s/no-reader.jpg"
row    fifo-output-with-reader   0 "Corrected 1 of 1" \
       '[[ -p $s/with-reader.jpg ]] && tool analyse $s/from-fifo.jpg >/dev/null' \
       with_reader "$s/with-reader.jpg" "$s/from-fifo.jpg" autosetup "$photo" -o "$s/with-reader.jpg"
row    symlink-output            0 "Corrected 1 of 1" \
       '[[ -L $s/link.jpg ]] && tool analyse $s/target.jpg >/dev/null' \
       tool autosetup "$photo" -o "$s/link.jpg"
row    dangling-symlink-output   1 "dangling.jpg: a dangling symbolic link" \
       '[[ -L $s/dangling.jpg && ! -e $s/missing.jpg ]]' tool autosetup "$photo" -o "$s/dangling.jpg"
row    in-place-symlink          0 "Corrected 1 of 1" \
       '[[ $(readlink $s/in-place-link.jpg) == real.jpg ]] && ! cmp -s $s/real.jpg $photo' \
       tool autosetup --in-place "$s/in-place-link.jpg"
row_if $sockets socket-output    1 "socket.jpg: not a regular file (a socket)" \
       '[[ -S $s/socket.jpg ]]'  tool autosetup "$photo" -o "$s/socket.jpg"
row_if $devices block-device-output 1 "block.jpg: not a regular file (a block device)" \
       '[[ -b $s/block.jpg ]]'   tool autosetup "$photo" -o "$s/block.jpg"
row    stdin-zero                1 "standard input is a character device" \
       '[[ ! -e $s/o.jpg ]]'     sh -c '"$0" autosetup - -o "$1" < /dev/zero' "$tool_path" "$s/o.jpg"
row    stdin-endless             1 "too large (more than $limit bytes)" \
       '[[ ! -e $s/o.jpg ]]'     sh -c 'head -c $(($2 + 4096)) /dev/zero | "$0" analyse -' "$tool_path" "$s/o.jpg" $limit
row_if $tiffs tiff-100000-square 1 "huge.tif: too large (100000 x 100000; at most 6144 pixels on a side)" \
       '[[ ! -e $s/o.tif ]]'     tool autosetup "$s/huge.tif" -o "$s/o.tif"
row_if $tiffs tiff-giant-tiles   1 "tiles.tif: TIFF layout not supported (a strip or tile of" \
       '[[ ! -e $s/o.tif ]]'     tool autosetup "$s/tiles.tif" -o "$s/o.tif"
row    fifo-in-hot-folder        0 "pipe.jpg: skipped: not a regular file (a FIFO)" \
       '[[ -p $s/hot/pipe.jpg && -z $(ls $s/hot-out) ]]' \
       timeout --preserve-status -s TERM 2 "$tool_path" watch "$s/hot" --out-dir "$s/hot-out" --settle 0.2
row    fifo-as-watch-journal     1 "not a regular file (a FIFO)" \
       '[[ -p $s/fifo-journal/.zkimgset-watch.journal ]]' \
       tool watch "$s/hot" --out-dir "$s/fifo-journal"
row    decisions-device          2 "/dev/zero: not a regular file (a character device)" \
       '[[ ! -e $s/dout ]]'      tool autosetup --decisions /dev/zero --out-dir "$s/dout"
row    decisions-fifo            2 "decisions.json: not a regular file (a FIFO)" \
       '[[ -p $s/decisions.json && ! -e $s/dout ]]' tool autosetup --decisions "$s/decisions.json" --out-dir "$s/dout"
row    decisions-empty           2 "empty.json: not valid JSON at byte 0" \
       '[[ ! -e $s/dout ]]'      tool autosetup --decisions "$s/empty.json" --out-dir "$s/dout"
row    decisions-many-values     2 "many.json: not valid JSON at byte 1999999 (line 1): more than 1000000 values" \
       '[[ ! -e $s/dout ]]'      tool autosetup --decisions "$s/many.json" --out-dir "$s/dout"
row    decisions-accept-device   1 "the accepted output /dev/zero: not a regular file (a character device)" \
       '[[ -z $(ls -A $s/dout) ]]' tool autosetup --decisions "$s/accept-zero.json" --out-dir "$s/dout"
row    report-fifo-no-reader     1 "page.html: no reader on the FIFO" \
       '[[ -p $s/page.html ]]'   tool autosetup "$photo" -o "$s/r.jpg" --report "$s/page.html"
row    report-dangling-symlink   1 "dangling.html: a dangling symbolic link" \
       '[[ -L $s/dangling.html && ! -e $s/gone.html ]]' tool autosetup "$photo" -o "$s/r.jpg" --report "$s/dangling.html"
row    report-dev-null           0 "Report: /dev/null" \
       '[[ -c /dev/null ]]'      tool autosetup "$photo" -o "$s/r.jpg" --report /dev/null

# No temporary file is left behind by any row.
left=$(find "$s" -name '.*.??????')
[[ -z $left ]] || { printf 'FAIL temporary files left:\n%s\n' "$left"; failed=1; }
exit $failed
