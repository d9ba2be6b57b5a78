// Dynamic loading over dlopen. Each open is matched by a close, so a library
// that was bound and released is unloaded again when nothing else holds it.
#include "platform/dynamic_library.h"

#include <dlfcn.h>

#include "platform/native.h"

namespace zkimgset::platform {

const char* native::service_library_name() { return "libostrel.so"; }

void* open_library(const std::string& name) noexcept {
  return dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* find_function(void* library, const char* name) noexcept {
  return library == nullptr ? nullptr : dlsym(library, name);
}

void close_library(void* library) noexcept {
  if (library != nullptr) dlclose(library);
}

}  // namespace zkimgset::platform
