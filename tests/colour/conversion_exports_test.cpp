// The conversions as a host calls them, with the default identity tables the
// library loads from beside itself.
#include <gtest/gtest.h>

#include <vector>

#include "zkimgset/zkimgset.h"

namespace {

TEST(ConversionExports, IdentityTablesLeaveNodeLevelsAlone) {
  std::vector<unsigned char> pixels(3 * 200 * 150);
  for (std::size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = static_cast<unsigned char>(8 * (i % 30) + 15);
  const auto before = pixels;
  EXPECT_EQ(Den2TA(pixels.data(), 200, 150), ZKIMGSET_OK);
  EXPECT_EQ(Vorn2TA_BGR(pixels.data(), 200, 150), ZKIMGSET_OK);
  EXPECT_EQ(Den2VornEx(pixels.data(), 200, 150, 0, 0, 0), ZKIMGSET_OK);
  EXPECT_EQ(pixels, before);
  EXPECT_EQ(ColorBalanceAdj(pixels.data(), 128, 91, 1, 1, 1), ZKIMGSET_BAD_SIZE);
  EXPECT_EQ(Den2TA(nullptr, 200, 150), ZKIMGSET_BAD_ARGUMENT);
  EXPECT_EQ(BgrRgbConversion(pixels.data(), 200, 150), 0) << "reports nothing";
  EXPECT_EQ(RgbBgrConversion(pixels.data(), 200, 150), 0);
}

}  // namespace
