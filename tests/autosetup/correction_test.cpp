// The correction stages on prepared statistics: the colour-balance decision,
// the gradation (the full one, the default one and the final tone-table
// stage) and the saturation tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "autosetup/colour_balance.h"
#include "autosetup/constant_tables.h"
#include "autosetup/gradation.h"
#include "autosetup/saturation.h"

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

// ---- Gradation ---------------------------------------------------------------

class FullGradation : public ::testing::Test {
 protected:
  // A picture of density 675 (level 91 or so) with equal zones: under bit 3
  // alone the target is 675 too, so the curve does not move.
  FullGradation() {
    library_.setup_mode = ZKIMGSET_SETUP_SIMPLE_DENSITY;
    state_.dens_av = 675;
    state_.yy_av = 91;
    std::fill(std::begin(state_.zone_density), std::end(state_.zone_density), 675);
    state_.wt_clp = 255;
    state_.bk_clp = 0;
    simple_density(state_);
  }
  AnalysisState state_;
  LibraryState library_;
};

TEST_F(FullGradation, NarrowRangeIsWidenedToFiftyOneLevels) {
  state_.wt_clp = 60;
  state_.bk_clp = 20;
  full_gradation(state_, library_);  // hi becomes 71
  EXPECT_EQ(state_.tone[19], 0);
  EXPECT_GT(state_.tone[21], 0);
  EXPECT_LT(state_.tone[70], 255);
  EXPECT_EQ(state_.tone[71], 255);
}

TEST_F(FullGradation, ContrastAdjustmentIsClampedAndMovesTheEnds) {
  library_.adjust.SetupAdjustA = 45;
  full_gradation(state_, library_);
  EXPECT_EQ(library_.adjust.SetupAdjustA, 30);
  EXPECT_EQ(state_.tone[29], 0);
  EXPECT_EQ(state_.tone[225], 255);
  library_.adjust.SetupAdjustA = -30;  // lo' < 0 and hi' > 255: the map read inside
  full_gradation(state_, library_);
  EXPECT_GT(state_.tone[0], 20);
  EXPECT_LT(state_.tone[255], 235);
}

TEST(FinalToneTable, ChainsTheLevelGammaOntoTone) {
  AnalysisState state;
  LibraryState library;
  library.adjust.SetupAdjustLevel = 50;
  for (int i = 0; i < 256; ++i) state.tone[i] = static_cast<std::uint8_t>(i);
  final_tone_table(state, library);
  EXPECT_EQ(library.adjust.SetupAdjustLevel, 70);
  EXPECT_EQ(state.tone[255], 255);
  EXPECT_NEAR(state.tone[64], std::pow(64 / 255.0, 0.7) * 255, 1.0);
  EXPECT_GT(state.tone[64], 64) << "a level below 100 lightens";

  library.adjust.SetupAdjustLevel = 100;  // no rounding term: some levels fall one short
  for (int i = 0; i < 256; ++i) state.tone[i] = static_cast<std::uint8_t>(i);
  final_tone_table(state, library);
  int short_by_one = 0;
  for (int i = 0; i < 256; ++i) {
    EXPECT_GE(state.tone[i] + 1, i);
    short_by_one += state.tone[i] == i - 1;
  }
  EXPECT_GT(short_by_one, 0);
  EXPECT_EQ(state.tone[255], 255);
}

// ---- Saturation --------------------------------------------------------------

TEST(FullSaturation, ReproducesEachArc) {
  const struct {
    const char* name;
    std::uint16_t setup_mode;
    std::int16_t adjust_b;
    std::int16_t at[5];  // at 0, 9, 49, 98, 99
  } cases[] = {{"default strength", ZKIMGSET_SETUP_FULL, 0, {1116, 1107, 1068, 1025, 1024}},
               {"bit 2 clear",
                ZKIMGSET_SETUP_FULL & ~ZKIMGSET_SETUP_STATISTICS,
                0,
                {1087, 1081, 1055, 1025, 1024}},
               {"minus one", 64, -10, {967, 972, 995, 1023, 1024}},
               {"64 is the default", 64, 0, {1024, 1024, 1024, 1024, 1024}}};
  for (const auto& c : cases) {
    AnalysisState state;
    LibraryState library;
    library.setup_mode = c.setup_mode;
    library.adjust.SetupAdjustB = c.adjust_b;
    full_saturation_table(state, library);
    const int index[] = {0, 9, 49, 98, 99};
    for (int k = 0; k < 5; ++k) EXPECT_EQ(state.sat_coef[index[k]], c.at[k]) << c.name;
    const int direction = c.at[0] > 1024 ? -1 : 1;  // towards 1024 at the top
    for (int i = 1; i < 100; ++i)
      EXPECT_GE(direction * (state.sat_coef[i] - state.sat_coef[i - 1]), 0) << c.name << i;
  }
}

TEST(Saturation, AdjustmentIsClampedAndStoredBackAndTheDriverIgnoresTheStrength) {
  AnalysisState state;
  LibraryState library;
  library.setup_mode = 64;
  library.adjust.SetupAdjustB = 200;
  full_saturation_table(state, library);
  EXPECT_EQ(library.adjust.SetupAdjustB, 150);
  SaturationTable fifteen;
  saturation_curve(15.0, fifteen);
  EXPECT_TRUE(std::equal(std::begin(fifteen), std::end(fifteen), std::begin(state.sat_coef)));

  library.adjust.SetupAdjustB = -400;
  SaturationTable driver, minus_fifteen;
  adjustment_saturation_table(driver, library);
  EXPECT_EQ(library.adjust.SetupAdjustB, -150);
  saturation_curve(-15.0, minus_fifteen);
  EXPECT_TRUE(std::equal(std::begin(driver), std::end(driver), std::begin(minus_fifteen)));
  EXPECT_LT(driver[0], 1024);
  EXPECT_EQ(driver[99], 1024);

  library.setup_mode = ZKIMGSET_SETUP_FULL;
  library.adjust.SetupAdjustB = 0;
  adjustment_saturation_table(driver, library);
  for (std::int16_t coefficient : driver) EXPECT_EQ(coefficient, 1024);
}

}  // namespace
}  // namespace zkimgset::autosetup
