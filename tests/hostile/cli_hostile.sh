#!/usr/bin/env bash
# The tool against devices, FIFOs and huge files as inputs. Each row of the
# table runs the tool under a time limit of its own (a blocking open fails
# the row instead of hanging the run) and checks its exit status, a fragment
# of its messages and what is left on disk.
#   cli_hostile.sh TOOL SCRATCH_FOLDER
set -u
tool_path=$1 s=$2
photo=$(cd "$(dirname "$0")/../../examples/photos" && pwd)/dark-party.jpg
# The largest input the tool reads: an uncompressed 6144 x 6144 16-bit RGBA
# PNG and 64 MiB of room (cli/tool_limits.h).
limit=369104896

rm -rf "$s" && mkdir -p "$s/folder" "$s/out" || exit 1
cp "$photo" "$s/folder/good.jpg" || exit 1
mkfifo "$s/pipe.jpg" "$s/folder/pipe.jpg" || exit 1
truncate -s $((limit + 1)) "$s/over-limit.jpg" && truncate -s $limit "$s/at-limit.jpg" || exit 1
# Device nodes need root: without them, their rows are skipped.
devices=0
mknod "$s/folder/null.jpg" c 1 3 2>/dev/null && devices=1

tool() { timeout --kill-after=2 10 "$tool_path" "$@"; }

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
row    at-limit                  1 "at-limit.jpg: not a picture (neither JPEG nor PNG)" \
       '[[ ! -e $s/o.jpg ]]'     tool autosetup "$s/at-limit.jpg" -o "$s/o.jpg"
row    fifo-in-folder            1 "folder/pipe.jpg: not a regular file (a FIFO)" \
       '[[ $(ls -A $s/out) == good.jpg ]]' tool autosetup "$s/folder" --out-dir "$s/out"
row_if $devices device-in-folder 1 "folder/null.jpg: not a regular file (a character device)" \
       '[[ $(ls -A $s/out) == good.jpg ]]' tool autosetup "$s/folder" --out-dir "$s/out"

exit $failed
