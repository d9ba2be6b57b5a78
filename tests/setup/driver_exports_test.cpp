// The set-up and analysis exports as a host calls them, with no Exif-tag
// service on the machine; the argument rules are the drivers' own tests.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "zkimgset/zkimgset.h"

namespace {

std::vector<unsigned char> photo(int w, int h) {
  std::vector<unsigned char> p(3 * std::size_t(w) * std::size_t(h));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c)
        p[3 * (std::size_t(y) * w + x) + c] = static_cast<unsigned char>(
            30 + 100 * (0.5 + 0.5 * std::sin(x / 9.0 + c) * std::cos(y / 7.0)) +
            (x * 7 + y * 3) % 40);
  return p;
}

TEST(DriverExports, ConfiguringTheLibrarysOwnAnalysis) {
  std::vector<unsigned char> pixels = photo(320, 240);
  const auto before = pixels;
  // No service installed: the call stores its adjustments, then reports 22.
  EXPECT_EQ(ImageSetupExecEx(pixels.data(), 320, 240, 960, 24, 0, 0xDF, 100, 0, 0, 0, 0, 0, 0, 0),
            ZKIMGSET_SERVICE_MISSING);
  EXPECT_EQ(pixels, before) << "a failed set-up leaves the picture";
  AutoSetupParam record;
  ASSERT_EQ(GetAtParamEx(pixels.data(), 320, 240, &record, 0, 0, 0), ZKIMGSET_OK);
  EXPECT_NE(record.sat_coef[0], 1024) << "the full saturation stage ran";
  EXPECT_EQ(AutoSetupExecEx(pixels.data(), 320, 240, 960, 24, 0, 1, 7, 9),
            ZKIMGSET_SERVICE_MISSING);
}

// ImageDataConvert sets the colour conversion mode to 1 for all later calls:
// Den2Vorn then applies the 1-D table, which the default mode 3 leaves out.
TEST(DriverExports, ImageDataConvertLeavesColourConversionModeOne) {
  const std::string name =
      "ZKTEST_INVERT_" +
      std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()) + ".DAT";
  const std::filesystem::path file = std::filesystem::path(ZKIMGSET_TEST_TABLE_DIR) / name;
  {
    std::ofstream out(file);
    out << "1D inverted\n";
    for (int level = 0; level < 256; ++level)
      out << level << ',' << 255 - level << ',' << 255 - level << ',' << 255 - level << '\n';
  }
  ASSERT_EQ(Set1dFile(name.c_str()), ZKIMGSET_OK);
  std::filesystem::remove(file);

  ASSERT_EQ(SetColorConvMode(3), ZKIMGSET_OK);  // the load-time mode
  std::vector<unsigned char> pixels(3 * 100 * 100, 40);
  ASSERT_EQ(Den2Vorn(pixels.data(), 100, 100), ZKIMGSET_OK);
  EXPECT_EQ(pixels[0], 40) << "mode 3: curves only";
  EXPECT_EQ(ImageDataConvert(pixels.data(), 100, 100), ZKIMGSET_SERVICE_MISSING);
  ASSERT_EQ(Den2Vorn(pixels.data(), 100, 100), ZKIMGSET_OK);
  EXPECT_EQ(pixels[0], 255 - 40) << "mode 1: the 1-D table too";
  SetColorConvMode(3);
  ASSERT_EQ(Set1dFile("ZK1DDATA.DAT"), ZKIMGSET_OK);
}

// The DIBits variant and SetExifParam only store the shooting values (the
// fourth word carries LightSource in its low half and Flash in its high),
// which the dump shows.
TEST(AnalysisExports, ShootingValuesStoredByDIBitsAndSetExifParamShowInTheDump) {
  AutoSetupParam record;
  std::memset(&record, 0x5A, sizeof record);
  const AutoSetupParam before = record;
  const zkimgset::testing::TempFolder folder;
  tagRECT rect{0, 0, 127, 91};
  auto thumb = std::make_unique<_ThumbnailData>();
  auto dumped = [&](const char* name) {
    DumpAutoSetupParam(folder.slashed().c_str(), name, &rect, thumb.get());
    std::ifstream in(folder.path() / (std::string(name) + "_AutoSetupParam.txt"));
    return std::string{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  };
  EXPECT_EQ(GetAtParamFromDIBitsEx(nullptr, 0, 0, &record, 7, 10, 25), ZKIMGSET_OK);
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
  EXPECT_NE(dumped("d").find("Flash : 7\nBrightnessValueChild\t25\nBrightnessValueMother\t10\n"),
            std::string::npos);
  ASSERT_EQ(SetExifParam(0, 33, 10, (25u << 16) | 4u, 0, 0, 0, 0, 0, 0), ZKIMGSET_OK);
  EXPECT_NE(dumped("e").find("Flash : 25\nBrightnessValueChild\t33\nBrightnessValueMother\t10\n"),
            std::string::npos);
  EXPECT_EQ(GetAtParamFromDIBits(nullptr, 0, 0, nullptr), ZKIMGSET_OK);  // back to 255, 0, 0
}

}  // namespace
