// The saturation tables: the figures of the full stage's arcs, the default
// table, and the clamp of the host's adjustment.
#include "autosetup/saturation.h"

#include <gtest/gtest.h>

namespace zkimgset::autosetup {
namespace {

struct ArcCase {
  const char* name;
  std::uint16_t setup_mode;
  std::int16_t adjust_b;
  std::int16_t at0, at9, at49, at98, at99;
};

class FullSaturation : public ::testing::TestWithParam<ArcCase> {};

TEST_P(FullSaturation, ReproducesTheArc) {
  const ArcCase c = GetParam();
  AnalysisState state;
  LibraryState library;
  library.setup_mode = c.setup_mode;
  library.adjust.SetupAdjustB = c.adjust_b;
  full_saturation_table(state, library);
  EXPECT_EQ(state.sat_coef[0], c.at0);
  EXPECT_EQ(state.sat_coef[9], c.at9);
  EXPECT_EQ(state.sat_coef[49], c.at49);
  EXPECT_EQ(state.sat_coef[98], c.at98);
  EXPECT_EQ(state.sat_coef[99], c.at99);
  for (int i = 1; i < 100; ++i) {
    if (c.at0 >= 1024) {
      EXPECT_LE(state.sat_coef[i], state.sat_coef[i - 1]) << i;
    }
    if (c.at0 <= 1024) {
      EXPECT_GE(state.sat_coef[i], state.sat_coef[i - 1]) << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Strengths, FullSaturation,
    ::testing::Values(ArcCase{"DefaultStrength", ZKIMGSET_SETUP_FULL, 0, 1116, 1107, 1068, 1025,
                              1024},
                      ArcCase{"BitTwoClear", ZKIMGSET_SETUP_FULL & ~ZKIMGSET_SETUP_STATISTICS, 0,
                              1087, 1081, 1055, 1025, 1024},
                      ArcCase{"MinusOne", 64, -10, 967, 972, 995, 1023, 1024},
                      ArcCase{"SixtyFourIsDefault", 64, 0, 1024, 1024, 1024, 1024, 1024}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Saturation, AdjustmentIsClampedAndStoredBack) {
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
  SaturationTable driver;
  adjustment_saturation_table(driver, library);
  EXPECT_EQ(library.adjust.SetupAdjustB, -150);
  SaturationTable minus_fifteen;
  saturation_curve(-15.0, minus_fifteen);
  EXPECT_TRUE(std::equal(std::begin(driver), std::end(driver), std::begin(minus_fifteen)));
  EXPECT_LT(driver[0], 1024);
  EXPECT_EQ(driver[99], 1024);
}

TEST(Saturation, DriverTableIgnoresTheAnalysisStrength) {
  LibraryState library;
  library.setup_mode = ZKIMGSET_SETUP_FULL;
  SaturationTable table;
  adjustment_saturation_table(table, library);
  for (std::int16_t coefficient : table) EXPECT_EQ(coefficient, 1024);
}

}  // namespace
}  // namespace zkimgset::autosetup
