#include "support/library_folder_scope.h"

#include "platform/paths.h"

namespace zkimgset::testing {

LibraryFolderScope::LibraryFolderScope(const std::string& slashed_folder) {
  platform::override_library_folder(slashed_folder);
  std::string system = slashed_folder;
  if (!system.empty() && system.back() == '/') system.pop_back();
  platform::override_system_directory(system);
}

LibraryFolderScope::~LibraryFolderScope() {
  platform::override_library_folder(std::nullopt);
  platform::override_system_directory(std::nullopt);
}

}  // namespace zkimgset::testing
