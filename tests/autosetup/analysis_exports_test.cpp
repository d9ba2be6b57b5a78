// The analysis exports as a host calls them.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "zkimgset/zkimgset.h"

namespace {

// The size rules themselves are the analysis tests'.
TEST(AnalysisExports, CheckSizesAndPointers) {
  const std::vector<unsigned char> pixels(3 * 200 * 200, 77);
  AutoSetupParam record;
  EXPECT_EQ(GetAtParam(pixels.data(), 92, 128, &record), ZKIMGSET_OK);
  EXPECT_EQ(GetAtParam(pixels.data(), 127, 92, &record), ZKIMGSET_BAD_SIZE);
  EXPECT_EQ(GetAtParam(nullptr, 200, 200, &record), ZKIMGSET_BAD_ARGUMENT);
  EXPECT_EQ(GetAtParamEx(pixels.data(), 200, 200, nullptr, 255, 0, 0), ZKIMGSET_BAD_ARGUMENT);
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
