#include "support/loaded_library.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace zkimgset::testing {

#if defined(_WIN32)
bool library_loaded(const char* path) { return GetModuleHandleA(path) != nullptr; }

LoadedLibrary::LoadedLibrary(const std::string& path) : handle_(LoadLibraryA(path.c_str())) {}

LoadedLibrary::~LoadedLibrary() {
  if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* LoadedLibrary::symbol(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}
#else
bool library_loaded(const char* path) {
  void* handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

LoadedLibrary::LoadedLibrary(const std::string& path)
    : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {}

LoadedLibrary::~LoadedLibrary() {
  if (handle_ != nullptr) dlclose(handle_);
}

void* LoadedLibrary::symbol(const char* name) const { return dlsym(handle_, name); }
#endif

}  // namespace zkimgset::testing
