// Windows: the library folder is the full path of the module "ZKImgSet.DLL"
// with the length of that name cut from its end. The cut is by length, as
// the hosts have always relied on: the file must carry exactly that name.
#include <windows.h>

#include <cstring>

#include "platform/native.h"

namespace zkimgset::platform::native {
namespace {

constexpr const char* kModuleName = "ZKImgSet.DLL";
constexpr DWORD kModulePathBytes = 520;
constexpr UINT kSystemDirectoryBytes = 256;

}  // namespace

std::string library_folder() {
  char path[kModulePathBytes] = {};
  const DWORD length = GetModuleFileNameA(GetModuleHandleA(kModuleName), path, kModulePathBytes);
  const DWORD name_length = static_cast<DWORD>(std::strlen(kModuleName));
  if (length < name_length || length >= kModulePathBytes) return std::string();
  return std::string(path, length - name_length);
}

std::string system_directory() {
  char folder[kSystemDirectoryBytes] = {};
  const UINT length = GetSystemDirectoryA(folder, kSystemDirectoryBytes);
  if (length == 0 || length >= kSystemDirectoryBytes) return std::string();
  return std::string(folder, length);
}

// The folder already ends with a backslash, so the service is handed two.
const char* path_separator() { return "\\"; }

}  // namespace zkimgset::platform::native
