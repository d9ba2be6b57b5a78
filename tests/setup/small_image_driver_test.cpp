// The small-picture driver: the analysis on a reduced copy, the correction
// on the picture itself.
#include "setup/small_image_driver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

#include "colour/table_limits.h"
#include "support/pictures.h"

namespace zkimgset::setup {
namespace {

testing::TestPicture dark_photo(int w, int h) {
  return testing::TestPicture(w, h, [](int x, int y, std::uint8_t* p) {
    for (int c = 0; c < 3; ++c)
      p[c] = static_cast<std::uint8_t>(
          10 + 40 * (0.5 + 0.5 * std::sin(x / 11.0 + c) * std::cos(y / 13.0)) +
          (x * 5 + y * 3 + c * 7) % 23);
  });
}

double mean(const std::vector<std::uint8_t>& v) {
  double sum = 0;
  for (std::uint8_t b : v) sum += b;
  return sum / double(v.size());
}

class SmallImageDriver : public ::testing::Test {
 protected:
  SmallImageDriver() : main_(colour::kTable3dBytes) {
    library_.ColorTable3dMain = main_.data();
    library_.shooting.param.Flash = 0;  // the synthetic histograms are narrow
  }
  int run(std::vector<std::uint8_t>& pixels, int w, int h, unsigned layout = 0) {
    return run_small_image_driver(library_, analysis_, {pixels.data(), w, h, 0, 24, layout});
  }
  std::vector<std::uint8_t> main_;
  LibraryState library_;
  autosetup::AnalysisState analysis_;
};

// setup_mode 0x1D: the analysis without the service's mode 31, whose blend
// would give a picture of this narrow range a plain level stretch.
constexpr std::uint16_t kAnalysis = 0x1D;

// 200 x 150 is reduced to 132 x 99 by linear interpolation (stronger
// reductions take the tabled filter, whose two-tap outputs are black); 800 x
// 600 is analysed whole. Either way the dark picture is lightened.
TEST_F(SmallImageDriver, AnalysesSmallPicturesOnAReducedCopy) {
  for (const auto& [w, h, small] : {std::tuple{200, 150, true}, std::tuple{800, 600, false}}) {
    const testing::TestPicture p = dark_photo(w, h);
    std::vector<std::uint8_t> pixels = p.rgb;
    library_.setup_mode = kAnalysis;
    ASSERT_EQ(run(pixels, w, h), 0);
    EXPECT_EQ((library_.setup_mode & ZKIMGSET_SETUP_SMALL_IMAGE) != 0, small) << w;
    EXPECT_GT(mean(pixels), mean(p.rgb) + 5) << w;
  }
}

TEST_F(SmallImageDriver, SaturationOnlyModeStaysSixtyFour) {
  const testing::TestPicture p = dark_photo(300, 200);
  std::vector<std::uint8_t> pixels = p.rgb;
  library_.setup_mode = ZKIMGSET_SETUP_SATURATION_KEEP;
  library_.adjust.SetupAdjustB = 20;  // a correction is asked for: the table keeps bit 0x40
  ASSERT_EQ(run(pixels, 300, 200), 0);
  EXPECT_EQ(library_.setup_mode, ZKIMGSET_SETUP_SATURATION_KEEP) << "0xC0 becomes 0x40";
}

TEST_F(SmallImageDriver, WhiteMarginsStayWhiteInEitherLayout) {
  const testing::TestPicture photo = dark_photo(200, 150);
  const testing::TestPicture framed(260, 190, [&](int x, int y, std::uint8_t* px) {
    const bool inside = x >= 30 && x < 230 && y >= 20 && y < 170;
    for (int c = 0; c < 3; ++c) px[c] = inside ? photo.pixel(x - 30, y - 20)[c] : 255;
  });
  library_.setup_mode = 0x1F;
  std::vector<std::uint8_t> pixels = framed.rgb;
  ASSERT_EQ(run(pixels, 260, 190), 0);
  EXPECT_EQ(pixels[0], 255);
  EXPECT_EQ(pixels[3 * (189 * 260 + 259)], 255);
  testing::BitmapPicture bitmap(framed);
  library_.setup_mode = 0x1F;
  ASSERT_EQ(run(bitmap.bytes, 260, 190, 1), 0);
  EXPECT_EQ(bitmap.bytes[0], 255);
}

TEST_F(SmallImageDriver, RefusesBadArgumentsAndAFailedStartUp) {
  std::vector<std::uint8_t> pixels(3 * 200 * 200, 90);
  EXPECT_EQ(run_small_image_driver(library_, analysis_, {nullptr, 200, 200, 0, 24, 0}), 2);
  EXPECT_EQ(run_small_image_driver(library_, analysis_, {pixels.data(), 200, 200, 0, 16, 0}), 2);
  EXPECT_EQ(run(pixels, 200, 200, 2), 2);
  library_.StartupStatus = ZKIMGSET_OUT_OF_MEMORY;
  EXPECT_EQ(run(pixels, 200, 200), 3);
}

}  // namespace
}  // namespace zkimgset::setup
