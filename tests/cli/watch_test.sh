#!/usr/bin/env bash
# The hot folder with real files: a photo, one written in two halves within
# the settle time, a text file named .jpg; a stop by SIGTERM and a restart
# that neither processes a picture again nor loses one dropped in meanwhile,
# which --wait-for-done holds until its marker appears.
#   watch_test.sh TOOL PHOTOS_FOLDER WORK_FOLDER
set -u
tool=$1 photos=$2 w=$3
rm -rf "$w" && mkdir -p "$w/in" "$w/out" "$w/failed" || exit 1
photo=$photos/dark-party.jpg
other=$photos/indoor-cast.jpg
failed=0
fail() { echo "FAIL $*"; failed=1; }
wait_for() {
  local i
  for ((i = 0; i < 150; i++)); do eval "$1" && return 0; sleep 0.1; done
  return 1
}
# start ARGS...: the watcher in the background, messages in log.N.
run=0
start() {
  run=$((run + 1))
  timeout --kill-after=5 60 "$tool" watch "$w/in" --out-dir "$w/out" --failed-dir "$w/failed" \
    --settle 1 --json "$@" >"$w/log.$run" 2>&1 &
  pid=$!
}
stop() {
  kill -TERM "$pid"
  wait "$pid"
  local status=$?
  [[ $status -eq 0 ]] || fail "run $run: the watcher ended with $status after SIGTERM"
  grep -q '"type":"run"' "$w/log.$run" || fail "run $run: no closing summary"
}

start
cp "$photo" "$w/in/a.jpg"
# Half now, the rest 0.4 s later: within the settle time, so one picture.
size=$(stat -c %s "$other")
head -c $((size / 2)) "$other" >"$w/in/b.jpg"
sleep 0.4
tail -c +$((size / 2 + 1)) "$other" >>"$w/in/b.jpg"
echo "not a picture" >"$w/in/x.jpg"
wait_for '[[ -s $w/out/a.jpg && -s $w/out/b.jpg && -e $w/failed/x.jpg ]]' ||
  fail "run 1: outputs missing: $(ls "$w/out" "$w/failed" | tr '\n' ' ')"
"$tool" analyse "$w/out/b.jpg" >/dev/null || fail "run 1: out/b.jpg is not a whole picture"
stop
before=$(stat -c '%i %Y' "$w/out/a.jpg" "$w/out/b.jpg")

# Dropped in while the watcher was stopped.
cp "$photo" "$w/in/c.jpg"
start --wait-for-done
sleep 2  # longer than the settle time
[[ -e $w/out/c.jpg ]] && fail "run 2: c.jpg was processed without its marker"
touch "$w/in/c.jpg.done"
wait_for '[[ -s $w/out/c.jpg && ! -e $w/in/c.jpg.done ]]' || fail "run 2: c.jpg was lost"
stop
[[ $(stat -c '%i %Y' "$w/out/a.jpg" "$w/out/b.jpg") == "$before" ]] ||
  fail "run 2: a.jpg or b.jpg was written again"
grep -E '"file":"[^"]*/(a|b|x)\.jpg"' "$w/log.2" && fail "run 2: an earlier picture came up again"
[[ $failed == 0 ]] && echo "ok   hot folder: real files, a partial file, a restart"
exit $failed
