#!/usr/bin/env bash
# Builds the example C program against an installed copy, through pkg-config
# and find_package, and runs both and the tool with no LD_LIBRARY_PATH: each
# finds the library by its RPATH, and the library its tables beside it.
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
unset LD_LIBRARY_PATH
"$work/hello-pc"

# The installed tool, moved with its prefix: its RPATH is relative.
mv "$prefix" "$work/moved"
prefix=$work/moved
"$prefix/bin/zkimgset" --version
"$prefix/bin/zkimgset" tables | grep -q "ZK3DDATA.DAT: library status 0"
"$prefix/bin/zkimgset" autosetup "$source/examples/photos/dark-party.jpg" -q -o "$work/out.tif"

# find_package
cmake -S "$source/tests/install/consumer" -B "$work/consumer" -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_PREFIX_PATH="$prefix" -DEXAMPLE_SOURCE="$source/examples/hello.c" > "$work/configure.log"
cmake --build "$work/consumer" > "$work/build.log"
"$work/consumer/hello"
echo "installed copy: header, library, tables, tool, pkg-config and CMake package all work"
