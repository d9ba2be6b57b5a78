#pragma once

#include <string>

namespace zkimgset::testing {

// Points the library folder (and the system directory) at a folder of the
// test's own while in scope.
class LibraryFolderScope {
 public:
  explicit LibraryFolderScope(const std::string& slashed_folder);
  ~LibraryFolderScope();
  LibraryFolderScope(const LibraryFolderScope&) = delete;
  LibraryFolderScope& operator=(const LibraryFolderScope&) = delete;
};

}  // namespace zkimgset::testing
