// Windows: the Exif-tag service "OSTREL.DLL" is found by the system's library
// search (the host's folder, the system folders, PATH). Each LoadLibraryA is
// matched by a FreeLibrary.
#include "platform/dynamic_library.h"

#include <windows.h>

#include "platform/native.h"

namespace zkimgset::platform {

const char* native::service_library_name() { return "OSTREL.DLL"; }

void* open_library(const std::string& name) noexcept { return LoadLibraryA(name.c_str()); }

void* find_function(void* library, const char* name) noexcept {
  if (library == nullptr) return nullptr;
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void close_library(void* library) noexcept {
  if (library != nullptr) FreeLibrary(static_cast<HMODULE>(library));
}

}  // namespace zkimgset::platform
