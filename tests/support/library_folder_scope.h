// Test helper: points the library's folders at a folder of the test's own.
#pragma once

#include <string>

namespace zkimgset::testing {

// Points the library folder (and the system directory) at a folder while in
// scope.
class LibraryFolderScope {
 public:
  explicit LibraryFolderScope(const std::string& slashed_folder);
  ~LibraryFolderScope();
  LibraryFolderScope(const LibraryFolderScope&) = delete;
  LibraryFolderScope& operator=(const LibraryFolderScope&) = delete;
};

}  // namespace zkimgset::testing
