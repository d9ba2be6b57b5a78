// Windows: the library folder is the full path of the module "ZKImgSet.DLL"
// with the length of that name cut from its end. The cut is by length, as
// the hosts have always relied on: the file must carry exactly that name.
#include "platform/paths.h"

#include <windows.h>

#include <cstring>

namespace zkimgset::platform {
namespace {

constexpr const char* kModuleName = "ZKImgSet.DLL";
constexpr DWORD kModulePathBytes = 520;
constexpr UINT kSystemDirectoryBytes = 256;

std::optional<std::string>& library_folder_override() {
  static std::optional<std::string> folder;
  return folder;
}

std::optional<std::string>& system_directory_override() {
  static std::optional<std::string> folder;
  return folder;
}

}  // namespace

std::string library_folder() {
  if (library_folder_override()) return *library_folder_override();
  char path[kModulePathBytes] = {};
  const DWORD length = GetModuleFileNameA(GetModuleHandleA(kModuleName), path, kModulePathBytes);
  const DWORD name_length = static_cast<DWORD>(std::strlen(kModuleName));
  if (length < name_length || length >= kModulePathBytes) return std::string();
  return std::string(path, length - name_length);
}

std::string parameter_folder() { return library_folder() + "\\Param"; }

std::string system_directory() {
  if (system_directory_override()) return *system_directory_override();
  char folder[kSystemDirectoryBytes] = {};
  const UINT length = GetSystemDirectoryA(folder, kSystemDirectoryBytes);
  if (length == 0 || length >= kSystemDirectoryBytes) return std::string();
  return std::string(folder, length);
}

void override_library_folder(std::optional<std::string> folder) {
  library_folder_override() = std::move(folder);
}

void override_system_directory(std::optional<std::string> folder) {
  system_directory_override() = std::move(folder);
}

}  // namespace zkimgset::platform
