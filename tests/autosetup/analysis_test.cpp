// The whole analysis on a caller's picture: the entry point's checks, the
// neutral result under setup_mode 0, and the direction of its decisions on
// synthetic photographs (the correction they lead to is checked end to end
// in setup/image_data_convert_test.cpp).
#include "autosetup/analysis.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/pictures.h"

namespace zkimgset::autosetup {
namespace {

using testing::TestPicture;

class Analysis : public ::testing::Test {
 protected:
  int analyse(const TestPicture& p, std::uint16_t flash = 255) {
    return get_at_param(p.rgb.data(), p.width, p.height, &result_, flash, 0, 0, state_, library_);
  }
  AnalysisState state_;
  LibraryState library_;
  AutoSetupParam result_{};
};

// The scenes' histograms are narrower than a real photograph's, which an
// unknown flash would reject; they pass a flash that did not fire.
constexpr std::uint16_t kNoFlash = 0;

TEST_F(Analysis, ChecksItsArguments) {
  const TestPicture big(6145, 200, [](int, int, std::uint8_t* p) { p[0] = p[1] = p[2] = 90; });
  const std::vector<std::uint8_t> pixels(3 * 400 * 400, 90);
  const struct {
    int width, height;
    int status;
  } cases[] = {{128, 92, 0},  {92, 128, 0},   {127, 92, 4}, {128, 91, 4}, {91, 400, 4},
               {6144, 92, 0}, {6145, 200, 4}, {0, 100, 2},  {100, -1, 2}, {32768, 1, 2}};
  for (const auto& c : cases) {
    const std::uint8_t* image = c.width * c.height <= 400 * 400 ? pixels.data() : big.rgb.data();
    EXPECT_EQ(get_at_param(image, c.width, c.height, &result_, 255, 0, 0, state_, library_),
              c.status)
        << c.width << " x " << c.height;
  }
  EXPECT_EQ(get_at_param(nullptr, 200, 200, &result_, 255, 0, 0, state_, library_), 2);
  EXPECT_EQ(get_at_param(pixels.data(), 200, 200, nullptr, 255, 0, 0, state_, library_), 2);
}

TEST_F(Analysis, ModeZeroGivesTheNeutralRecord) {
  ASSERT_EQ(analyse(testing::noise_picture(300, 200, 5), 3), 0);
  EXPECT_EQ(result_.cb_ofs, 0);
  EXPECT_EQ(result_.cr_ofs, 0);
  for (std::int16_t c : result_.sat_coef) EXPECT_EQ(c, 1024);
  // The default gradation is the identity; the final stage chains the level
  // gamma table (g = 1) onto it.
  EXPECT_EQ(std::memcmp(result_.tone, state_.level_gamma, 256), 0);
  EXPECT_EQ(library_.shooting.param.Flash, 3) << "the flash is stored for later set-ups";
}

// The gains take a mild cast back; the offsets are what remains of the
// measured cast once the grey pixels' gains have taken theirs back, halved,
// so only a strong cast (no pixel near grey) shows in them.
TEST_F(Analysis, MildCastIsTakenBackByTheGainsAndAStrongOneShowsInTheOffsets) {
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(testing::scene(640, 460, 80, 90, -8, 0, 14), kNoFlash), 0);  // bluish
  EXPECT_LT(state_.gain[kBlue], 1.0f);
  EXPECT_GT(state_.gain[kRed], 1.0f);
  EXPECT_LE(std::abs(result_.cb_ofs) + std::abs(result_.cr_ofs), 2) << "nothing remains";

  const TestPicture strong = testing::scene(640, 460, 80, 90, -20, 0, 35);
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(strong, kNoFlash), 0);
  EXPECT_GT(result_.cb_ofs, 2);
  EXPECT_LT(result_.cr_ofs, -1);
  EXPECT_LT(state_.gain[kBlue], state_.gain[kRed]);
  library_.setup_mode = 0x1F | ZKIMGSET_SETUP_HALVE;
  const AutoSetupParam full = result_;
  ASSERT_EQ(analyse(strong, kNoFlash), 0);
  EXPECT_LT(result_.cb_ofs, full.cb_ofs) << "bit 5 halves the correction";
}

TEST_F(Analysis, SkinPatchInAPortraitBecomesTheSubject) {
  // A face-sized warm ellipse in the middle of a textured portrait.
  TestPicture p = testing::scene(460, 640, 70, 70, 0, 0, 0);
  for (int y = 0; y < 640; ++y)
    for (int x = 0; x < 460; ++x) {
      const double dx = (x - 230) / 60.0, dy = (y - 320) / 80.0;
      if (dx * dx + dy * dy > 1) continue;
      std::uint8_t* px = &p.rgb[3 * (std::size_t(y) * 460 + x)];
      px[0] = 220, px[1] = 170, px[2] = 140;
    }
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(p, kNoFlash), 0);
  ASSERT_NE(library_.setup_mode & ZKIMGSET_SETUP_GROUP_DENSITY, 0) << "grouping ran";
  EXPECT_GT(state_.density_weight, 400);
  EXPECT_LT(state_.density_weight, 900);
  EXPECT_NEAR(state_.yy_select, 181, 3) << "the face's luminance";
}

TEST_F(Analysis, UnusablePictureKeepsOnlyTheSaturationBit) {
  const TestPicture black(300, 200, [](int, int, std::uint8_t* p) { p[0] = p[1] = p[2] = 0; });
  library_.setup_mode = ZKIMGSET_SETUP_FULL;
  ASSERT_EQ(analyse(black), 0);
  EXPECT_EQ(library_.setup_mode, ZKIMGSET_SETUP_SATURATION_KEEP);
  EXPECT_EQ(result_.cb_ofs, 0);
  for (std::int16_t c : result_.sat_coef) EXPECT_EQ(c, 1024) << "mode 64 alone: strength 0";
}

}  // namespace
}  // namespace zkimgset::autosetup
