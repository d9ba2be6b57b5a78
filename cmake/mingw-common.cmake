# What both mingw-w64 toolchains share. The compilers of the posix thread
# model give GoogleTest its std::mutex; the C, C++ and thread runtimes are
# linked in statically, so the DLL and the test programs need nothing beside
# themselves but system DLLs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${ZKIMGSET_MINGW_TRIPLE})
set(CMAKE_C_COMPILER ${ZKIMGSET_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZKIMGSET_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${ZKIMGSET_MINGW_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${ZKIMGSET_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")
# Test programs of the 64-bit build run under wine64.
if(ZKIMGSET_MINGW_TRIPLE STREQUAL "x86_64-w64-mingw32")
  find_program(ZKIMGSET_WINE64 NAMES wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
  if(ZKIMGSET_WINE64)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${ZKIMGSET_WINE64})
  endif()
endif()
