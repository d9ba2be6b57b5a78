// Dynamic loading over dlopen. Each open is matched by a close, so a library
// that was bound and released is unloaded again when nothing else holds it.
#include "platform/dynamic_library.h"

#include <dlfcn.h>

namespace zkimgset::platform {
namespace {

std::optional<std::string>& service_override() {
  static std::optional<std::string> path;
  return path;
}

}  // namespace

std::string service_library_name() {
  return service_override() ? *service_override() : std::string("libostrel.so");
}

void override_service_library(std::optional<std::string> path) {
  service_override() = std::move(path);
}

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
