// The whole analysis on a caller's picture: the entry point's checks, the
// neutral result under setup_mode 0, and the direction of every decision on
// varied synthetic photographs.
#include "autosetup/analysis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

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
  const TestPicture p = testing::noise_picture(300, 200, 5);
  ASSERT_EQ(analyse(p, 3), 0);
  EXPECT_EQ(result_.cb_ofs, 0);
  EXPECT_EQ(result_.cr_ofs, 0);
  for (std::int16_t c : result_.sat_coef) EXPECT_EQ(c, 1024);
  // The default gradation is the identity; the final stage chains the level
  // gamma table (g = 1) onto it.
  for (int i = 0; i < 256; ++i) EXPECT_EQ(result_.tone[i], state_.level_gamma[i]) << i;
  EXPECT_EQ(library_.shooting.param.Flash, 3) << "the flash is stored for later set-ups";
}

// Photographs: a textured scene of a given brightness and cast.
TestPicture scene(int width, int height, int base, int spread, int dr, int dg, int db) {
  std::mt19937 random(17);
  return TestPicture(width, height, [&](int x, int y, std::uint8_t* p) {
    const double shade = std::sin(x / 37.0) * std::cos(y / 23.0) * 0.5 + 0.5;
    const int v = base + static_cast<int>(spread * shade) + static_cast<int>(random() % 7);
    const int channel[3] = {v + dr, v + dg, v + db};
    for (int c = 0; c < 3; ++c) p[c] = static_cast<std::uint8_t>(std::clamp(channel[c], 0, 254));
  });
}

// The scenes' histograms are narrower than a real photograph's, which an
// unknown flash would reject; they pass a flash that did not fire.
constexpr std::uint16_t kNoFlash = 0;

TEST_F(Analysis, DarkPictureIsLiftedAndBrightOneLowered) {
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(scene(640, 460, 15, 80, 0, 0, 0), kNoFlash), 0);
  ASSERT_TRUE(state_.usable);
  EXPECT_GT(result_.tone[100], 110) << "mid-tones lifted";
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(scene(640, 460, 160, 90, 0, 0, 0), kNoFlash), 0);
  ASSERT_TRUE(state_.usable);
  EXPECT_LT(result_.tone[150], 140) << "mid-tones lowered";
}

// The gains take a cast back; the offsets are what remains of the measured
// cast once the grey pixels' gains have taken theirs back, halved.
TEST_F(Analysis, MildCastIsTakenBackByTheGains) {
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(scene(640, 460, 80, 90, -8, 0, 14), kNoFlash), 0);  // bluish
  EXPECT_LT(state_.gain[kBlue], 1.0f);
  EXPECT_GT(state_.gain[kRed], 1.0f);
  EXPECT_LE(std::abs(result_.cb_ofs) + std::abs(result_.cr_ofs), 2) << "nothing remains";
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(scene(640, 460, 80, 90, 12, 2, -10), kNoFlash), 0);  // reddish
  EXPECT_LT(state_.gain[kRed], 1.0f);
  EXPECT_GT(state_.gain[kBlue], 1.0f);
}

TEST_F(Analysis, StrongCastShowsInTheOffsets) {
  // No pixel is near grey, so no gain takes the cast back before the offsets.
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(scene(640, 460, 80, 90, -20, 0, 35), kNoFlash), 0);
  EXPECT_GT(result_.cb_ofs, 2);
  EXPECT_LT(result_.cr_ofs, -1);
  EXPECT_LT(state_.gain[kBlue], state_.gain[kRed]);
  library_.setup_mode = 0x1F | ZKIMGSET_SETUP_HALVE;
  const AutoSetupParam full = result_;
  ASSERT_EQ(analyse(scene(640, 460, 80, 90, -20, 0, 35), kNoFlash), 0);
  EXPECT_LT(result_.cb_ofs, full.cb_ofs) << "bit 5 halves the correction";
}

TEST_F(Analysis, SkinPatchInAPortraitBecomesTheSubject) {
  // A face-sized warm ellipse in the middle of a textured portrait.
  TestPicture p = scene(460, 640, 70, 70, 0, 0, 0);
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
  const AutoSetupParam portrait = result_;

  // The same portrait in a white frame analyses the same.
  const TestPicture framed(560, 700, [&](int x, int y, std::uint8_t* px) {
    const int sx = x - 50, sy = y - 30;
    const bool inside = sx >= 0 && sx < 460 && sy >= 0 && sy < 640;
    for (int c = 0; c < 3; ++c) px[c] = inside ? p.pixel(sx, sy)[c] : 255;
  });
  library_.setup_mode = 0x1F;
  ASSERT_EQ(analyse(framed, kNoFlash), 0);
  EXPECT_EQ(std::memcmp(&portrait, &result_, sizeof result_), 0);
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
