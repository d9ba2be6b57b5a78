#include "support/temp_folder.h"

#include <fstream>
#include <random>
#include <stdexcept>

namespace zkimgset::testing {

// create_directory refuses a name that exists: two tests never share one.
TempFolder::TempFolder() {
  std::random_device seed;
  std::mt19937_64 random(seed());
  const auto base = std::filesystem::temp_directory_path();
  for (int attempt = 0; attempt < 100; ++attempt) {
    auto candidate = base / ("zkimgset-test-" + std::to_string(random()));
    if (std::filesystem::create_directory(candidate)) {
      path_ = candidate;
      return;
    }
  }
  throw std::runtime_error("cannot make a temporary folder");
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
