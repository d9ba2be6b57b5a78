#include "support/temp_folder.h"

#include <stdlib.h>

#include <fstream>
#include <stdexcept>

namespace zkimgset::testing {

TempFolder::TempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zkimgset-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempFolder::write(const std::string& name, std::string_view bytes) const {
  const std::string full = (path_ / name).string();
  std::ofstream out(full, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + full);
  return full;
}

}  // namespace zkimgset::testing
