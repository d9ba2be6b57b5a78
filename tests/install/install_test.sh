#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds the example C
# program against the installed copy twice, through pkg-config and through
# find_package, and runs both: the installed library must find the default
# tables installed beside it.
# usage: install_test.sh BUILD_DIR SOURCE_DIR C_COMPILER
set -euo pipefail
build=$1 source=$2 cc=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" > "$work/install.log"
libdir=$(dirname "$(find "$prefix" -name 'libzkimgset.so' | head -n 1)")
for f in zkimgset/zkimgset.h; do test -f "$prefix/include/$f"; done
test -f "$libdir/ZK1DDATA.DAT" && test -f "$libdir/ZK3DDATA.DAT"
test -f "$libdir/pkgconfig/zkimgset.pc"
test -f "$libdir/cmake/ZKImgSet/ZKImgSetConfig.cmake"

# pkg-config
export PKG_CONFIG_PATH=$libdir/pkgconfig
"$cc" -std=c11 -Wall -Wextra -Werror "$source/examples/hello.c" \
  $(pkg-config --cflags --libs zkimgset) -o "$work/hello-pc"
LD_LIBRARY_PATH=$libdir "$work/hello-pc"

# find_package
cmake -S "$source/tests/install/consumer" -B "$work/consumer" -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_PREFIX_PATH="$prefix" -DEXAMPLE_SOURCE="$source/examples/hello.c" > "$work/configure.log"
cmake --build "$work/consumer" > "$work/build.log"
"$work/consumer/hello"
echo "installed copy: header, library, tables, pkg-config and CMake package all work"
