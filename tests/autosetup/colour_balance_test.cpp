// The colour-balance decision from prepared chroma estimates.
#include "autosetup/colour_balance.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zkimgset::autosetup {
namespace {

class ColourBalance : public ::testing::Test {
 protected:
  ColourBalance() { library_.shooting.param.Flash = 0; }
  // Decides from grey-pixel gains of 1.0 unless a test set others first.
  void decide(double cb, double cr, double tm, bool neutral_gains = true) {
    if (neutral_gains) std::fill(std::begin(state_.gain), std::end(state_.gain), 1.0f);
    state_.chroma = {cb, cr, cb, cr, tm};
    decide_colour_balance(state_, library_);
  }
  AnalysisState state_;
  LibraryState library_;
};

TEST_F(ColourBalance, CustomRenderedOneGetsNoBalance) {
  library_.shooting.param.CustomRendered = 1;
  state_.gain[kRed] = 1.3f;
  decide(10, -6, 400);
  EXPECT_EQ(state_.cb_ofs, 0);
  EXPECT_EQ(state_.cr_ofs, 0);
  for (float gain : state_.gain) EXPECT_EQ(gain, 1.0f);
}

TEST_F(ColourBalance, StrongEstimateIsPulledOntoTheCircleThenWeakened) {
  // (30, 0) onto the circle of squared radius 144 is (12, 0); neutral gains
  // add nothing at the reference grey, so the offset is half the estimate.
  library_.shooting.param.Flash = 255;  // unknown: 0.9 of it, 10.8
  decide(30, 0, 144);
  EXPECT_EQ(state_.cb_ofs, 5);
  EXPECT_EQ(state_.cr_ofs, 0);
  library_.shooting.param.Flash = 0;
  decide(30, 0, 144);
  EXPECT_EQ(state_.cb_ofs, 6);
  library_.setup_mode = ZKIMGSET_SETUP_HALVE;
  decide(0, -30, 144);
  EXPECT_EQ(state_.cr_ofs, -3);
  decide(0, -14, 1000);
  EXPECT_EQ(state_.cr_ofs, -4) << "-3.5 rounds away from zero";
}

TEST_F(ColourBalance, HueBandAndSaturatedPictureWeaken) {
  decide(6, 6, 1000);           // same signs, ratio 1: inside the band
  EXPECT_EQ(state_.cb_ofs, 2);  // 6 x 0.666667 / 2
  state_.sat_av = 4001;
  decide(-8, 8, 1000);
  EXPECT_EQ(state_.cb_ofs, -2);
  EXPECT_EQ(state_.cr_ofs, 2);
}

TEST_F(ColourBalance, GreyPixelGainsAloneGiveAHalvedCast) {
  state_.gain[kRed] = 1.2f;  // grey pixels were short of red
  state_.gain[kGreen] = 1.0f;
  state_.gain[kBlue] = 0.8f;
  decide(0, 0, 100, false);
  EXPECT_GT(state_.cr_ofs, 0);
  EXPECT_LT(state_.cb_ofs, 0);
  EXPECT_GT(state_.gain[kRed], 1.0f);
  EXPECT_LT(state_.gain[kRed], 1.2f) << "the new gain is the mean of the old and the estimate's";
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
