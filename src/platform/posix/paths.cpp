// Linux and other dladdr platforms: the library folder is the folder of the
// shared object that holds this code, with symbolic links resolved, so that a
// library reached through a link still finds the tables installed beside the
// real file.
#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include "platform/native.h"

#ifndef ZKIMGSET_SYSTEM_DIR
#define ZKIMGSET_SYSTEM_DIR "/usr/local/share/zkimgset"
#endif

namespace zkimgset::platform::native {
namespace {

// The path of the module holding this function: the shared library, or the
// executable when the code is linked statically.
std::string module_path() {
  Dl_info info{};
  const void* self = reinterpret_cast<const void*>(&module_path);
  std::string path;
  if (dladdr(self, &info) != 0 && info.dli_fname != nullptr) path = info.dli_fname;
  if (path.empty() || path.find('/') == std::string::npos) {
    char exe[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n > 0) path.assign(exe, static_cast<size_t>(n));
  }
  char* real = realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string resolved = real;
  free(real);
  return resolved;
}

}  // namespace

std::string library_folder() {
  const std::string path = module_path();
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string system_directory() { return ZKIMGSET_SYSTEM_DIR; }

const char* path_separator() { return "/"; }

}  // namespace zkimgset::platform::native
