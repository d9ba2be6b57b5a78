// The colour-balance decision from prepared chroma estimates.
#include "autosetup/colour_balance.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zkimgset::autosetup {
namespace {

// An estimate (cb, cr) beyond the threshold circle (squared radius tm) is
// pulled onto it; grey-pixel gains of 1 add nothing at the reference grey,
// so the offset is half of what remains, weakened by the shooting factor,
// the hue band (same signs, ratio near 1), a saturated picture (sat_av over
// 4000) and bit 5.
TEST(ColourBalance, EstimateIsPulledOntoTheCircleWeakenedAndHalved) {
  const struct {
    std::uint16_t custom_rendered, flash, setup_mode;
    int sat_av;
    double cb, cr, tm;
    int cb_ofs, cr_ofs;
  } cases[] = {{1, 0, 0, 0, 10, -6, 400, 0, 0},   // a rendered picture gets no balance
               {0, 255, 0, 0, 30, 0, 144, 5, 0},  // unknown flash: 0.9 of 12, 10.8
               {0, 0, 0, 0, 30, 0, 144, 6, 0},
               {0, 0, ZKIMGSET_SETUP_HALVE, 0, 0, -30, 144, 0, -3},
               {0, 0, ZKIMGSET_SETUP_HALVE, 0, 0, -14, 1000, 0, -4},  // -3.5 away from zero
               {0, 0, 0, 0, 6, 6, 1000, 2, 2},                        // 6 x 0.666667 / 2
               {0, 0, 0, 4001, -8, 8, 1000, -2, 2}};
  for (const auto& c : cases) {
    AnalysisState state;
    LibraryState library;
    library.shooting.param.CustomRendered = c.custom_rendered;
    library.shooting.param.Flash = c.flash;
    library.setup_mode = c.setup_mode;
    state.sat_av = static_cast<std::int16_t>(c.sat_av);
    std::fill(std::begin(state.gain), std::end(state.gain), 1.0f);
    state.gain[kRed] = c.custom_rendered ? 1.3f : 1.0f;
    state.chroma = {c.cb, c.cr, c.cb, c.cr, c.tm};
    decide_colour_balance(state, library);
    EXPECT_EQ(state.cb_ofs, c.cb_ofs) << c.cb << ", " << c.cr;
    EXPECT_EQ(state.cr_ofs, c.cr_ofs) << c.cb << ", " << c.cr;
    if (c.custom_rendered) {
      EXPECT_EQ(state.gain[kRed], 1.0f) << "no gain is kept for a rendered picture";
    }
  }
}

TEST(ColourBalance, GreyPixelGainsAloneGiveAHalvedCast) {
  AnalysisState state;
  LibraryState library;
  library.shooting.param.Flash = 0;
  state.gain[kRed] = 1.2f;  // grey pixels were short of red
  state.gain[kGreen] = 1.0f;
  state.gain[kBlue] = 0.8f;
  state.chroma = {0, 0, 0, 0, 100};
  decide_colour_balance(state, library);
  EXPECT_GT(state.cr_ofs, 0);
  EXPECT_LT(state.cb_ofs, 0);
  EXPECT_GT(state.gain[kRed], 1.0f);
  EXPECT_LT(state.gain[kRed], 1.2f) << "the new gain is the mean of the old and the estimate's";
}

TEST(ShootingFactor, FollowsFlashAndBrightness) {
  const struct {
    std::uint16_t flash;
    std::int32_t num, den;
    double factor;
  } cases[] = {{255, 50, 10, 0.9},   {1, 50, 10, 0.9}, {0, 50, 0, 1.0},
               {0, -3, 10, 1.0},     {0, 5, 10, 1.05}, {0, 20, 10, 1.1},
               {0, 45, 10, 0.90015}, {0, 60, 10, 0.7}, {16, 100, 1, 0.7}};
  for (const auto& c : cases) {
    ExifParam shot{};
    shot.Flash = c.flash;
    shot.BrightnessValue_num = c.num;
    shot.BrightnessValue_den = c.den;
    EXPECT_NEAR(shooting_factor(shot), c.factor, 1e-6) << c.flash << " " << c.num << "/" << c.den;
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
