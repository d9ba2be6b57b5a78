#!/usr/bin/env bash
# Runs the host program of the Windows build under the emulator, then the same
# program of a native build, and requires the two to write the same bytes:
# the transcript, the set-up record and both corrected pictures.
# usage: host_smoke.sh EMULATOR HOST_EXE OUT_DIR [NATIVE_BUILD_DIR]
# Without NATIVE_BUILD_DIR only the Windows run is checked, and the test
# reports itself skipped (77).
set -euo pipefail
emulator=$1 host=$2 out=$3 native=${4:-}
rm -rf "$out" && mkdir -p "$out/windows" "$out/native"

# The host runs from its own folder, as hosts do: LoadLibraryA finds
# ZKImgSet.dll and OSTREL.DLL there.
(cd "$(dirname "$host")" && "$emulator" "./$(basename "$host")" "$out/windows")
cat "$out/windows/transcript.txt"

if [ -z "$native" ]; then
  echo "no native build given: the comparison is skipped"
  exit 77
fi
for f in "$native/bin/zkimgset_host_smoke" "$native/lib/libzkimgset.so" \
         "$native/standin-service/libostrel.so"; do
  [ -e "$f" ] || { echo "FAIL: the native build lacks $f"; exit 1; }
done
LD_LIBRARY_PATH="$native/standin-service" \
  "$native/bin/zkimgset_host_smoke" "$out/native" "$native/lib/libzkimgset.so"

status=0
for file in transcript.txt record.bin convert.rgb autosetup.rgb; do
  if cmp -s "$out/windows/$file" "$out/native/$file"; then
    echo "same bytes: $file ($(wc -c <"$out/native/$file") bytes)"
  else
    echo "FAIL: $file differs between the Windows and the native build"
    cmp "$out/windows/$file" "$out/native/$file" | head -3 || true
    status=1
  fi
done
exit $status
