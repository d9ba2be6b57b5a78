// The statistics stage on thumbnails made to order; the analysis's recorded
// records show which mean colours and shots clear bit 2.
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

Rgb grey(int level) {
  const auto v = static_cast<std::uint8_t>(level);
  return {v, v, v};
}

// A spread of greys (every level but white about 46 times), which no rule
// rejects.
Rgb grey_ramp(int i) { return grey(i % 255); }

class Statistics : public ::testing::Test {
 protected:
  template <class ColourOf>
  bool run(ColourOf colour_of) {
    thumb_ = thumbnail(colour_of);
    return run_statistics(*thumb_, state_, library_);
  }
  std::unique_ptr<_ThumbnailData> thumb_;
  AnalysisState state_;
  LibraryState library_;
};

TEST_F(Statistics, NegativeChromaRoundsTowardMinusInfinity) {
  run([](int) { return Rgb{1, 0, 0}; });
  EXPECT_EQ(thumb_->plane[kPlaneRedCr][0], 128 + 0);   // 512 >> 10
  EXPECT_EQ(thumb_->plane[kPlaneBlueCb][0], 128 - 1);  // -173 >> 10
  EXPECT_EQ(thumb_->plane[kPlaneGreenY][0], 0);
}

TEST_F(Statistics, UsabilityRules) {
  const struct {
    const char* name;
    std::uint16_t flash;  // the sparse-histogram rules need a known flash
    Rgb (*colour)(int);
    bool usable;
  } cases[] = {
      {"grey ramp", 255, grey_ramp, true},
      {"8800 black", 0, [](int i) { return i < 8800 ? grey(0) : grey(128); }, true},
      {"8801 black", 0, [](int i) { return i < 8801 ? grey(0) : grey(128); }, false},
      {"3000 white", 0, [](int i) { return i < 3000 ? grey(255) : grey_ramp(i); }, true},
      {"3001 white", 0, [](int i) { return i < 3001 ? grey(255) : grey_ramp(i); }, false},
      {"crowded mid bin", 0, [](int i) { return i < 3001 ? grey(100) : grey_ramp(i); }, false},
      {"crowded dark bin", 0, [](int i) { return i < 3001 ? grey(24) : grey_ramp(i); }, true},
      {"few levels, flash known", 0, [](int i) { return grey(40 + i % 8 * 20); }, true},
      {"few levels, flash unknown", 255, [](int i) { return grey(40 + i % 8 * 20); }, false}};
  for (const auto& c : cases) {
    library_.shooting.param.Flash = c.flash;
    EXPECT_EQ(run(c.colour), c.usable) << c.name;
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
