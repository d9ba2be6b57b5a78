// The saturation tables: the figures of the full stage's arcs, the default
// table, and the clamp of the host's adjustment.
#include "autosetup/saturation.h"

#include <gtest/gtest.h>

namespace zkimgset::autosetup {
namespace {

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
