// A temporary folder removed with its contents, and files written into it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zkimgset::testing {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // The folder with a trailing separator, as the library folder is given.
  std::string slashed() const { return path_.string() + "/"; }
  // Writes bytes to name inside the folder and returns the full path.
  std::string write(const std::string& name, std::string_view bytes) const;

 private:
  std::filesystem::path path_;
};

}  // namespace zkimgset::testing
