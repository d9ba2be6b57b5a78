// A fresh copy of the shared library as a host loads it: its exports found
// by name, and its load-time values.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "support/decorated_names.h"
#include "support/loaded_library.h"
#include "support/temp_folder.h"
#include "zkimgset/zkimgset.h"

namespace {

// The library's file name on this platform.
#if defined(_WIN32)
constexpr const char* kLibraryName = "ZKImgSet.dll";
#else
constexpr const char* kLibraryName = "libzkimgset.so";
#endif

// In a folder of its own, whatever the tests before stored.
TEST(SharedLibrary, FreshCopyDumpsItsStartValues) {
  zkimgset::testing::TempFolder folder;
  const auto path = folder.path() / kLibraryName;
  std::filesystem::copy_file(std::filesystem::canonical(ZKIMGSET_TEST_LIBRARY), path);
  const zkimgset::testing::LoadedLibrary copy(path.string());
  ASSERT_TRUE(copy.loaded());
  auto* dump = copy.find<void(const char*, const char*, tagRECT*, _ThumbnailData*)>(
      ZKIMGSET_NAME_DUMP_AUTO_SETUP_PARAM);
  ASSERT_NE(dump, nullptr);
  tagRECT rect{0, 0, 127, 91};
  auto thumb = std::make_unique<_ThumbnailData>();
  dump(folder.slashed().c_str(), "fresh", &rect, thumb.get());
  std::ifstream in(folder.path() / "fresh_AutoSetupParam.txt");
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  EXPECT_EQ(text.substr(0, 57),
            "orig_width\t128\norig_height\t92\n\nsetup_mode\t0\n\nFlash : 255\n");
}

}  // namespace
