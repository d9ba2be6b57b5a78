// The statistics stage on thumbnails made to order.
#include "autosetup/statistics.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "autosetup/constant_tables.h"

namespace zkimgset::autosetup {
namespace {

struct Rgb {
  std::uint8_t r, g, b;
};

// A thumbnail whose pixel i is colour_of(i); yy is the point luminance.
template <class ColourOf>
std::unique_ptr<_ThumbnailData> thumbnail(ColourOf colour_of) {
  auto t = std::make_unique<_ThumbnailData>();
  for (int i = 0; i < kThumbPixels; ++i) {
    const Rgb c = colour_of(i);
    t->plane[kPlaneRedCr][i] = c.r;
    t->plane[kPlaneGreenY][i] = c.g;
    t->plane[kPlaneBlueCb][i] = c.b;
    t->plane[kPlaneYy][i] = static_cast<std::uint8_t>((306 * c.r + 601 * c.g + 117 * c.b) >> 10);
  }
  return t;
}

// A spread of greys (every level but white about 46 times), which no rule
// rejects.
Rgb grey_ramp(int i) {
  const auto v = static_cast<std::uint8_t>(i % 255);
  return {v, v, v};
}

class Statistics : public ::testing::Test {
 protected:
  bool run(_ThumbnailData& t) { return run_statistics(t, state_, library_); }
  AnalysisState state_;
  LibraryState library_;
};

TEST_F(Statistics, NegativeChromaRoundsTowardMinusInfinity) {
  auto t = thumbnail([](int) { return Rgb{1, 0, 0}; });
  run(*t);
  EXPECT_EQ(t->plane[kPlaneRedCr][0], 128 + 0);   // 512 >> 10
  EXPECT_EQ(t->plane[kPlaneBlueCb][0], 128 - 1);  // -173 >> 10
  EXPECT_EQ(t->plane[kPlaneGreenY][0], 0);
}

TEST_F(Statistics, BlackPixelLimitForUsability) {
  library_.shooting.param.Flash = 0;  // the sparse-histogram rules need an unknown flash
  for (const auto& [black, usable] : {std::pair{8801, false}, std::pair{8800, true}}) {
    auto t = thumbnail([&](int i) { return i < black ? Rgb{0, 0, 0} : Rgb{128, 128, 128}; });
    EXPECT_EQ(run(*t), usable) << black << " black pixels";
  }
}

TEST_F(Statistics, UsabilityRules) {
  struct Case {
    const char* name;
    std::uint16_t flash;
    Rgb (*colour)(int);
    bool usable;
  };
  const Case cases[] = {
      {"GreyRamp", 255, grey_ramp, true},
      {"ThreeThousandWhite", 0,
       [](int i) {
         return i < 3000 ? Rgb{255, 255, 255} : grey_ramp(i);
       },
       true},
      {"MoreWhite", 0,
       [](int i) {
         return i < 3001 ? Rgb{255, 255, 255} : grey_ramp(i);
       },
       false},
      {"CrowdedMidBin", 0,
       [](int i) {
         return i < 3001 ? Rgb{100, 100, 100} : grey_ramp(i);
       },
       false},
      {"CrowdedDarkBinIsFine", 0,
       [](int i) {
         return i < 3001 ? Rgb{24, 24, 24} : grey_ramp(i);
       },
       true},
      {"FewLevelsFlashKnown", 0, [](int i) { return grey_ramp(40 + i % 8 * 20); }, true},
      {"FewLevelsFlashUnknown", 255, [](int i) { return grey_ramp(40 + i % 8 * 20); }, false},
  };
  for (const Case& c : cases) {
    library_.shooting.param.Flash = c.flash;
    auto t = thumbnail(c.colour);
    EXPECT_EQ(run(*t), c.usable) << c.name;
  }
}

TEST_F(Statistics, BlackClipIsCompressedAboveTwenty) {
  for (const auto& [level, bk_clp] : {std::pair{28, 23}, std::pair{20, 20}, std::pair{21, 20}}) {
    auto t = thumbnail([&](int) {
      const auto v = static_cast<std::uint8_t>(level);
      return Rgb{v, v, v};
    });
    run(*t);
    EXPECT_EQ(state_.bk_clp, bk_clp) << level;
    EXPECT_EQ(state_.y_mn, level);
    EXPECT_EQ(state_.wt_clp, level);
  }
}

TEST_F(Statistics, NeutralPictureHasUnitGainsAndNoBalance) {
  library_.setup_mode = ZKIMGSET_SETUP_FULL;
  auto t = thumbnail(grey_ramp);
  run(*t);
  for (float gain : state_.gain) EXPECT_EQ(gain, 1.0f);
  EXPECT_EQ(state_.cb_ofs, 0);
  EXPECT_EQ(state_.cr_ofs, 0);
  EXPECT_EQ(state_.cb_av, 0);
  EXPECT_EQ(state_.cr_av, 0);
  EXPECT_EQ(state_.sat_av, 0);
  EXPECT_EQ(state_.yy_mn, 0);
  EXPECT_EQ(state_.yy_mx, 254);
  EXPECT_EQ(state_.y_mn, 0);
  EXPECT_EQ(state_.y_mx, 254);
  EXPECT_EQ(library_.setup_mode, ZKIMGSET_SETUP_FULL) << "a neutral picture keeps bit 2";
}

TEST_F(Statistics, UniformLevelGivesItsDensityEverywhere) {
  auto t = thumbnail([](int) { return Rgb{64, 64, 64}; });
  run(*t);
  EXPECT_EQ(state_.dens_av, level_density()[64]);
  EXPECT_EQ(state_.yy_av, 64);
  for (std::uint16_t zone : state_.zone_density) EXPECT_EQ(zone, level_density()[64]);
  EXPECT_EQ(state_.hist_y[64], kThumbPixels);
  EXPECT_FLOAT_EQ(state_.white_point[kGreen], 64.0f);
}

TEST_F(Statistics, TintedMeanColourClearsBitTwo) {
  // An orange cast: Cb below and Cr above zero, within the hue limits.
  library_.setup_mode = ZKIMGSET_SETUP_FULL;
  auto t = thumbnail([](int i) {
    const auto v = static_cast<std::uint8_t>(60 + i % 120);
    return Rgb{static_cast<std::uint8_t>(v + 40), v, static_cast<std::uint8_t>(v / 2)};
  });
  run(*t);
  EXPECT_EQ(library_.setup_mode, ZKIMGSET_SETUP_FULL & ~ZKIMGSET_SETUP_STATISTICS);
}

TEST_F(Statistics, FlashWithBrightnessBelowThreeAndAHalfClearsBitTwo) {
  const struct {
    std::uint16_t flash;
    std::int32_t num, den;
    bool cleared;
  } cases[] = {{1, 34, 10, true},
               {1, 35, 10, false},
               {1, 34, 0, false},
               {0, 34, 10, false},
               {255, -5, 1, true}};
  for (const auto& c : cases) {
    library_.setup_mode = ZKIMGSET_SETUP_FULL;
    library_.shooting.param.Flash = c.flash;
    library_.shooting.param.BrightnessValue_num = c.num;
    library_.shooting.param.BrightnessValue_den = c.den;
    auto t = thumbnail(grey_ramp);
    run(*t);
    EXPECT_EQ((library_.setup_mode & ZKIMGSET_SETUP_STATISTICS) == 0, c.cleared)
        << c.flash << " " << c.num << "/" << c.den;
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
