# Cross build for 64-bit Windows with Debian's mingw-w64; its test programs
# run under wine64:
#   cmake -S . -B build-win64 -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake
set(ZKIMGSET_MINGW_TRIPLE x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
