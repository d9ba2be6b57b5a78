// Windows: the loader's notifications run attach and detach. Only process
// attach and detach matter; thread attach and detach do nothing.
#include <windows.h>

#include "frame/attach.h"
#include "frame/library_state.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      zkimgset::attach(zkimgset::library_state(), zkimgset::platform::system_allocator());
      break;
    case DLL_PROCESS_DETACH:
      zkimgset::detach(zkimgset::library_state());
      break;
    default:
      break;
  }
  return TRUE;
}
