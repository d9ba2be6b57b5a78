#include "support/loaded_library.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace zkimgset::testing {

bool library_loaded(const char* path) {
#if defined(_WIN32)
  return GetModuleHandleA(path) != nullptr;
#else
  void* handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
#endif
}

}  // namespace zkimgset::testing
