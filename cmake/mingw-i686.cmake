# Cross build for 32-bit Windows with Debian's mingw-w64 (the drop-in DLL):
#   cmake -S . -B build-win32 -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake
# Floating point in SSE2 registers, as on x86-64, rather than the x87's
# extended precision, so the tables the DLL builds match the 64-bit and Linux
# builds'; and no more than the 4-byte stack alignment that 32-bit Windows
# callers promise, so functions that need more realign it themselves.
set(ZKIMGSET_MINGW_TRIPLE i686-w64-mingw32)
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mincoming-stack-boundary=2")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mincoming-stack-boundary=2")
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
