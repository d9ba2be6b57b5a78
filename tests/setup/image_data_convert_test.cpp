// The pixel passes and ImageDataConvertEx, and the library's own set-up end
// to end: GetAtParamEx's record applied by ImageDataConvertEx.
#include "setup/image_data_convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
  const ZKImgSetPlanarYCbCr d{y.data(), cb.data(), cr.data(), 32, 8, 8, 2, 2};
  ASSERT_EQ(ycbcr_pass(state_, d, tagRECT{0, 0, w - 1, h - 1}), 0);
  // From Y 50: R' = G' = 50, B' = 0.
  EXPECT_EQ(cb, std::vector<std::uint8_t>(8, 103));
  EXPECT_EQ(cr, std::vector<std::uint8_t>(8, 132));
  EXPECT_EQ(y[0], 44) << "0.299 x 50 + 0.587 x 50 + 0.5";
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

// The size rules themselves are the analysis tests'.
TEST_F(ImageDataConvert, ChecksArgumentsAndSize) {
  std::vector<std::uint8_t> pixels(3 * 128 * 92, 90);
  EXPECT_EQ(convert(pixels, 127, 92, 0), ZKIMGSET_BAD_SIZE);
  EXPECT_EQ(convert(pixels, 128, 92, 3), ZKIMGSET_BAD_ARGUMENT);
  const tagRECT rect{0, 0, 127, 91};
  EXPECT_EQ(
      image_data_convert(library_, analysis_, pixels.data(), 128, 92, 0, nullptr, &rect, &rect), 2);
  EXPECT_EQ(
      image_data_convert(library_, analysis_, pixels.data(), 128, 92, 0, &record_, &rect, nullptr),
      2);
}

// The bounds give the row length only, so a host may pass its buffer's
// stride; areas no buffer could hold are the hostile-input tests'.
TEST_F(ImageDataConvert, TakesTheRowLengthFromTheBoundsAndRefusesOnlyWhatNoBufferHolds) {
  for (int i = 0; i < 256; ++i) record_.tone[i] = std::uint8_t(255 - i);
  library_.setup_mode = 0xDF;  // a set-up that changes every grey
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

std::uint64_t digest(const std::vector<std::uint8_t>& bytes) {
  std::uint64_t h = 14695981039346656037ull;
  for (const std::uint8_t b : bytes) h = (h ^ b) * 1099511628211ull;
  return h;
}

// The library's own set-up end to end: GetAtParamEx's record applied by
// ImageDataConvertEx gives the recorded pictures (ZKIMGSET_PRINT_CONVERT=1
// prints them), which were checked lighter, darker and less cast.
TEST_F(ImageDataConvert, EndToEndGivesTheRecordedPictures) {
  const struct {
    const char* name;
    TestPicture picture;
    std::uint64_t digest;
  } pictures[] = {
      {"dark", testing::scene(640, 460, 15, 80, 0, 0, 0), 0x866CD684BF746852ull},
      {"bright", testing::scene(640, 460, 160, 90, 0, 0, 0), 0xD63CAFC3EE940DE9ull},
      {"blue cast", testing::scene(640, 460, 80, 90, -8, 0, 14), 0x8F55386EF23A2BA6ull}};
  for (const auto& [name, picture, expected] : pictures) {
    library_.setup_mode = 0x1F;
    ASSERT_EQ(autosetup::get_at_param(picture.rgb.data(), 640, 460, &record_, 0, 0, 0, analysis_,
                                      library_),
              0);
    std::vector<std::uint8_t> pixels = picture.rgb;
    ASSERT_EQ(convert(pixels, 640, 460, 0), 0) << name;
    if (std::getenv("ZKIMGSET_PRINT_CONVERT") != nullptr)
      std::printf("0x%016llXull  // %s\n", (unsigned long long)digest(pixels), name);
    EXPECT_EQ(digest(pixels), expected) << name;
  }
}

}  // namespace
}  // namespace zkimgset::setup
