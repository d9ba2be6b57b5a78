#!/usr/bin/env bash
# The Windows build's host under the emulator and a native build's host must
# write the same bytes. Without NATIVE_BUILD_DIR the test reports skipped (77).
# usage: host_smoke.sh EMULATOR HOST_EXE OUT_DIR [NATIVE_BUILD_DIR]
set -euo pipefail
emulator=$1 host=$2 out=$3 native=${4:-}
rm -rf "$out" && mkdir -p "$out/windows" "$out/native"

# From its own folder, where LoadLibraryA finds ZKImgSet.dll and OSTREL.DLL.
(cd "$(dirname "$host")" && "$emulator" "./$(basename "$host")" "$out/windows")
cat "$out/windows/transcript.txt"

if [ -z "$native" ]; then
  echo "no native build given: the comparison is skipped"
  exit 77
fi
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
