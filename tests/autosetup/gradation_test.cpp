// The gradation: the full one from prepared statistics, the default one, and
// the final tone-table stage.
#include "autosetup/gradation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "autosetup/constant_tables.h"

namespace zkimgset::autosetup {
namespace {

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

TEST_F(FullGradation, PlainDensityAimsAtSixSeventyFive) {
  state_.dens_eff = 1000;  // whatever an earlier analysis left
  simple_density(state_);
  full_gradation(state_, library_);
  EXPECT_EQ(state_.dens_eff, 675);
  for (int i = 0; i < 256; ++i) ASSERT_NEAR(state_.level_map[i], i, 0.01) << i;
  for (int i = 0; i < 255; ++i) ASSERT_NEAR(state_.tone[i], i, 1) << i;
}

TEST_F(FullGradation, NarrowRangeIsWidenedToFiftyOneLevels) {
  state_.wt_clp = 60;
  state_.bk_clp = 20;
  full_gradation(state_, library_);  // hi becomes 71
  EXPECT_EQ(state_.tone[19], 0);
  EXPECT_GT(state_.tone[21], 0);
  EXPECT_LT(state_.tone[70], 255);
  EXPECT_EQ(state_.tone[71], 255);
}

TEST_F(FullGradation, DarkPictureIsLightenedAndBrightOneDarkened) {
  state_.dens_av = state_.dens_eff = state_.dens_sel = 1100;  // dark
  full_gradation(state_, library_);
  EXPECT_GT(state_.tone[100], 110);
  state_.dens_av = state_.dens_eff = state_.dens_sel = 400;  // bright
  full_gradation(state_, library_);
  EXPECT_LT(state_.tone[100], 90);
  for (int i = 1; i < 256; ++i) EXPECT_GE(state_.tone[i], state_.tone[i - 1]) << i;
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

// Contrast a stretches levels a..255 - a over the whole range; a negative
// one squeezes the range into -a..255 + a.
TEST(DefaultGradation, FollowsTheContrastAdjustment) {
  for (const int a : {30, 0, -30}) {
    AnalysisState state;
    LibraryState library;
    library.adjust.SetupAdjustA = static_cast<std::int16_t>(a);
    default_gradation(state, library);
    for (int i = 0; i < 256; ++i) {
      const long expected = a >= 0
                                ? std::clamp(std::lround((i - a) * 255.0 / (255 - 2 * a)), 0L, 255L)
                                : std::lround((255 + 2 * a) * i / 255.0 - a);
      ASSERT_EQ(state.tone[i], expected) << a << " at " << i;
    }
  }
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

}  // namespace
}  // namespace zkimgset::autosetup
