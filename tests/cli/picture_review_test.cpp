// The review's measures and warnings: what counts as clipped, and where a
// change becomes worth a warning.
#include "core/picture_review.h"

#include <gtest/gtest.h>

namespace zkcli {
namespace {

TEST(PictureReview, ClippedMeansEveryChannelAtAnEnd) {
  Picture picture;
  picture.width = 5;
  picture.height = 1;
  picture.rgb = {0, 0, 1, 1, 1, 1, 254, 255, 255, 255, 0, 0, 255, 255, 255};
  const Histograms h = measure_histograms(picture);
  EXPECT_EQ(h.pixels, 5u);
  EXPECT_EQ(h.shadows, 2u) << "channels within a level of 0";
  EXPECT_EQ(h.highlights, 2u) << "254 is the corrected picture's white; pure red is no loss";
  EXPECT_EQ(h.counts[3][255], 1u) << "white has luminance 255";
  EXPECT_EQ(h.counts[0][255], 2u);
}

// Histograms of 1000 pixels at one level, with some clipped.
Histograms sample(int level, int shadows, int highlights) {
  Histograms h;
  h.pixels = 1000;
  h.counts[3][level] = 1000;
  h.shadows = static_cast<std::uint64_t>(shadows);
  h.highlights = static_cast<std::uint64_t>(highlights);
  return h;
}

struct WarningCase {
  const char* name;
  Histograms before, after;
  std::vector<std::string> warnings;
};

class ReviewWarnings : public ::testing::TestWithParam<WarningCase> {};

TEST_P(ReviewWarnings, WarnOnlyPastTheThresholds) {
  PictureReview review;
  review_correction(review, GetParam().before, GetParam().after);
  EXPECT_EQ(review.warnings, GetParam().warnings);
}

INSTANTIATE_TEST_SUITE_P(
    Thresholds, ReviewWarnings,
    ::testing::Values(
        WarningCase{"HighlightsGrowOnePoint", sample(120, 0, 5), sample(120, 0, 15), {}},
        WarningCase{"HighlightsGrowMore",
                    sample(120, 0, 5),
                    sample(120, 0, 16),
                    {"highlights clipped: 0.5% -> 1.6% of pixels"}},
        WarningCase{"ShadowsGrowMore",
                    sample(120, 0, 0),
                    sample(120, 40, 0),
                    {"shadows clipped: 0.0% -> 4.0% of pixels"}},
        WarningCase{"DarkSceneLiftedThirty",
                    sample(79, 0, 0),
                    sample(109, 0, 0),
                    {"dark scene brightened: mean level 79 -> 109"}},
        WarningCase{"DarkSceneLiftedLess", sample(50, 0, 0), sample(79, 0, 0), {}},
        WarningCase{"MidSceneLiftedMuch", sample(80, 0, 0), sample(140, 0, 0), {}}),
    [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace zkcli
