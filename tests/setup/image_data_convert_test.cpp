// The pixel passes and ImageDataConvertEx, and the library's own set-up end
// to end: GetAtParamEx's record applied by ImageDataConvertEx.
#include "setup/image_data_convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "autosetup/analysis.h"
#include "colour/table_limits.h"
#include "setup/pixel_pass.h"
#include "setup/planar_pass.h"
#include "support/colour_tables.h"
#include "support/pictures.h"

namespace zkimgset::setup {
namespace {

using geometry::Layout;
using testing::TestPicture;

class PixelPass : public ::testing::Test {
 protected:
  PixelPass() : main_(testing::identity_table_3d()) { state_.ColorTable3dMain = main_.data(); }
  std::vector<std::uint8_t> main_;
  LibraryState state_;
};

TEST_F(PixelPass, WhiteGuardOnlyInModesZeroAndTwo) {
  for (std::int16_t mode : {0, 1, 2, 3}) {
    state_.ColorConvMode = mode;
    std::vector<std::uint8_t> p = {255, 255, 255, 255, 255, 254};
    const tagRECT rect{0, 0, 1, 0};
    ASSERT_EQ(pixel_pass(state_, p.data(), 24, Layout::PackedRgb, rect, rect), 0);
    const bool guard = mode == 0 || mode == 2;
    EXPECT_EQ(p, (std::vector<std::uint8_t>{255, 255, 255, std::uint8_t(guard ? 254 : 255),
                                            std::uint8_t(guard ? 254 : 255), 254}))
        << mode;
  }
}

TEST_F(PixelPass, ThirtyTwoBitRowsDrift) {
  std::memset(main_.data(), 0, main_.size());   // every pixel becomes black
  std::vector<std::uint8_t> p(4 * 4 * 2, 200);  // 4 x 2 pixels, 4 bytes each
  const tagRECT area{0, 0, 1, 1}, bounds{0, 0, 3, 1};
  ASSERT_EQ(pixel_pass(state_, p.data(), 32, Layout::PackedRgb, area, bounds), 0);
  // Row 0 converts at bytes 0 and 4; the row skip is 3 x 2 bytes, so row 1
  // starts at byte 14, not 16.
  std::vector<std::uint8_t> expected(32, 200);
  for (int start : {0, 4, 14, 18})
    for (int b = 0; b < 3; ++b) expected[start + b] = 0;
  EXPECT_EQ(p, expected);
}

TEST_F(PixelPass, PlanarDescriptorIsCheckedBeforeAnythingIsTouched) {
  std::vector<std::uint8_t> y(16, 100), cb(16, 128), cr(16, 128);
  ZKImgSetPlanarYCbCr d{y.data(), cb.data(), cr.data(), 16, 16, 16, 3, 1};
  const tagRECT bounds{0, 0, 3, 3};
  EXPECT_EQ(ycbcr_pass(state_, d, bounds), ZKIMGSET_BAD_PLANAR);
  d.h_factor = 1;
  d.cb_bytes = 0;
  EXPECT_EQ(ycbcr_pass(state_, d, bounds), ZKIMGSET_BAD_PLANAR);
  d.cb_bytes = 16;
  d.cr = nullptr;
  EXPECT_EQ(ycbcr_pass(state_, d, bounds), ZKIMGSET_BAD_PLANAR);
  EXPECT_EQ(y, std::vector<std::uint8_t>(16, 100));
  EXPECT_EQ(cb, std::vector<std::uint8_t>(16, 128));
}

TEST_F(PixelPass, ChromaSamplesComeFromTheTopLeftPixelOfTheirBlock) {
  // The set-up table read as planes: red and green pass, blue is always 0,
  // so the chroma written depends on the luminance it was made from.
  std::memset(main_.data(), 0, main_.size());
  for (int i = 0; i <= 32; ++i)
    for (int j = 0; j <= 32; ++j)
      for (int k = 0; k <= 32; ++k) {
        main_[i * 1089 + j * 33 + k] = std::uint8_t(std::min(8 * i, 255));
        main_[35937 + i * 1089 + j * 33 + k] = std::uint8_t(std::min(8 * j, 255));
      }
  const int w = 8, h = 4;
  std::vector<std::uint8_t> y(w * h), cb(w * h / 4, 128), cr(w * h / 4, 128);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) y[r * w + c] = (r % 2 == 0 && c % 2 == 0) ? 50 : 200;
  const ZKImgSetPlanarYCbCr d{y.data(),
                              cb.data(),
                              cr.data(),
                              std::uint32_t(y.size()),
                              std::uint32_t(cb.size()),
                              std::uint32_t(cr.size()),
                              2,
                              2};
  ASSERT_EQ(ycbcr_pass(state_, d, tagRECT{0, 0, w - 1, h - 1}), 0);
  // From Y 50: R' = G' = 50, B' = 0.
  EXPECT_EQ(cb, std::vector<std::uint8_t>(8, 103));
  EXPECT_EQ(cr, std::vector<std::uint8_t>(8, 132));
  EXPECT_EQ(y[0], 44) << "0.299 x 50 + 0.587 x 50 + 0.5";
}

TEST(PlanarInterpolate, LastCellEndsAtNodeThirtyTwo) {
  std::vector<std::uint8_t> table(colour::kTable3dBytes, 0);
  for (int i = 0; i <= 32; ++i)
    for (int j = 0; j <= 32; ++j)
      for (int k = 0; k <= 32; ++k)
        table[i * 1089 + j * 33 + k] = std::uint8_t(std::min(8 * i, 255));
  for (int v : {0, 7, 8, 100, 247, 248, 250, 254, 255})
    EXPECT_EQ(planar_interpolate(table.data(), 0, v, 3, 255), v) << v;
}

// ---- ImageDataConvertEx ------------------------------------------------------

class ImageDataConvert : public ::testing::Test {
 protected:
  ImageDataConvert() : main_(colour::kTable3dBytes) {
    library_.ColorTable3dMain = main_.data();
    for (int i = 0; i < 256; ++i) record_.tone[i] = std::uint8_t(i);
    for (auto& c : record_.sat_coef) c = 1024;
  }
  int convert(std::vector<std::uint8_t>& pixels, int w, int h, int mode) {
    const tagRECT rect{0, 0, w - 1, h - 1};
    return image_data_convert(library_, analysis_, pixels.data(), w, h, mode, &record_, &rect,
                              &rect);
  }
  std::vector<std::uint8_t> main_;
  LibraryState library_;
  autosetup::AnalysisState analysis_;
  AutoSetupParam record_{};
};

TEST_F(ImageDataConvert, ChecksArgumentsAndSize) {
  std::vector<std::uint8_t> pixels(3 * 6145 * 128, 90);
  const struct {
    int w, h, mode, status;
  } cases[] = {
      {128, 92, 0, 0}, {92, 128, 2, 0}, {127, 92, 0, 4}, {6145, 128, 0, 4}, {128, 92, 3, 2}};
  for (const auto& c : cases) EXPECT_EQ(convert(pixels, c.w, c.h, c.mode), c.status) << c.w;
  const tagRECT rect{0, 0, 127, 91};
  EXPECT_EQ(
      image_data_convert(library_, analysis_, pixels.data(), 128, 92, 0, nullptr, &rect, &rect), 2);
  EXPECT_EQ(
      image_data_convert(library_, analysis_, pixels.data(), 128, 92, 0, &record_, &rect, nullptr),
      2);
}

// The bounds give the row length only, so a host may pass its buffer's
// stride; the area is converted wherever it lies, and only an area that no
// buffer starting at the data could hold is refused.
TEST_F(ImageDataConvert, TakesTheRowLengthFromTheBoundsAndRefusesOnlyWhatNoBufferHolds) {
  for (int i = 0; i < 256; ++i) record_.tone[i] = std::uint8_t(255 - i);
  library_.setup_mode = 0xDF;  // a set-up that changes every grey
  constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();
  const tagRECT stride{0, 0, 130, 94};
  const struct {
    const char* what;
    int mode;
    tagRECT area, bounds;
    int status;
    int converted;
  } cases[] = {
      {"packed rows of 131 pixels", 0, {0, 0, 129, 94}, stride, 0, 130 * 95},
      {"bitmap rows of 131 pixels", 2, {0, 0, 129, 94}, stride, 0, 130 * 95},
      {"part of one row", 0, {10, 3, 19, 3}, stride, 0, 10},
      {"an area past the row's end wraps", 0, {125, 0, 134, 0}, stride, 0, 10},
      {"an empty area", 0, {5, 0, 4, 94}, stride, 0, 0},
      {"left of the first byte", 0, {-1, 0, 129, 94}, stride, ZKIMGSET_BAD_ARGUMENT, 0},
      {"above the first row", 2, {0, -1, 129, 94}, stride, ZKIMGSET_BAD_ARGUMENT, 0},
      {"rows walking back", 0, {0, 0, 9, 1}, {10, 0, 0, 0}, ZKIMGSET_BAD_ARGUMENT, 0},
      {"past the address space",
       0,
       {0, kMax - 1, 0, kMax - 1},
       {kMin, 0, kMax, 0},
       ZKIMGSET_BAD_ARGUMENT,
       0},
      {"an area of 2^32 pixels", 0, {kMin, 0, kMax, 0}, stride, ZKIMGSET_BAD_ARGUMENT, 0},
  };
  for (const auto& c : cases) {
    std::vector<std::uint8_t> pixels(396 * 95, 90);
    EXPECT_EQ(image_data_convert(library_, analysis_, pixels.data(), 130, 95, c.mode, &record_,
                                 &c.area, &c.bounds),
              c.status)
        << c.what;
    const auto changed = std::count_if(pixels.begin(), pixels.end(), [](int v) { return v != 90; });
    EXPECT_EQ(changed, 3 * c.converted) << c.what;
  }
}

TEST_F(ImageDataConvert, NeutralRecordKeepsThePicture) {
  const TestPicture p = testing::noise_picture(160, 120, 2);
  std::vector<std::uint8_t> pixels = p.rgb;
  ASSERT_EQ(convert(pixels, 160, 120, 0), 0);
  for (std::size_t i = 0; i < pixels.size(); ++i) ASSERT_NEAR(pixels[i], p.rgb[i], 1) << i;
  EXPECT_EQ(std::memcmp(analysis_.tone, record_.tone, 256), 0) << "the record stays loaded";
}

// Mean luminance and mean colour differences of a packed picture.
struct Means {
  double y, cb, cr;
};
Means means_of(const std::vector<std::uint8_t>& rgb) {
  Means m{0, 0, 0};
  const double n = double(rgb.size() / 3);
  for (std::size_t i = 0; i < rgb.size(); i += 3) {
    m.y += (0.299 * rgb[i] + 0.587 * rgb[i + 1] + 0.114 * rgb[i + 2]) / n;
    m.cb += (-0.1687 * rgb[i] - 0.3313 * rgb[i + 1] + 0.5 * rgb[i + 2]) / n;
    m.cr += (0.5 * rgb[i] - 0.4187 * rgb[i + 1] - 0.0813 * rgb[i + 2]) / n;
  }
  return m;
}

// The library's own set-up end to end: GetAtParamEx's record applied by
// ImageDataConvertEx moves the picture the way the analysis found it off.
TEST_F(ImageDataConvert, EndToEndTheCorrectionGoesTheWayTheAnalysisSaid) {
  const struct {
    const char* name;
    TestPicture picture;
    double dy;  // the least change of mean luminance, in its direction; 0: a cast
  } pictures[] = {{"dark", testing::scene(640, 460, 15, 80, 0, 0, 0), 5},
                  {"bright", testing::scene(640, 460, 160, 90, 0, 0, 0), -3},
                  {"blue cast", testing::scene(640, 460, 80, 90, -8, 0, 14), 0},
                  {"red cast", testing::scene(640, 460, 80, 90, 12, 2, -10), 0}};
  for (const auto& [name, picture, dy] : pictures) {
    library_.setup_mode = 0x1F;
    ASSERT_EQ(autosetup::get_at_param(picture.rgb.data(), 640, 460, &record_, 0, 0, 0, analysis_,
                                      library_),
              0);
    std::vector<std::uint8_t> pixels = picture.rgb;
    ASSERT_EQ(convert(pixels, 640, 460, 0), 0) << name;
    const Means before = means_of(picture.rgb), after = means_of(pixels);
    const double cast_before = std::hypot(before.cb, before.cr),
                 cast_after = std::hypot(after.cb, after.cr);
    EXPECT_TRUE(dy > 0   ? after.y > before.y + dy
                : dy < 0 ? after.y < before.y + dy
                         : cast_after < 0.75 * cast_before)
        << name << ": luminance " << before.y << " to " << after.y << ", cast " << cast_before
        << " to " << cast_after;
  }
}

}  // namespace
}  // namespace zkimgset::setup
