// What an operator needs to judge a correction at a glance: the picture's
// histograms before and after, how far its mean level moved, and warnings
// where the correction clipped shadows or highlights or pulled a dark scene
// toward mid-grey (night, dusk and low-key pictures, which the analysis
// brightens like any other).
#pragma once

#include <array>
#include <cstdint>

#include "core/picture_summary.h"
#include "files/picture_file.h"

namespace zkcli {

// A pixel is clipped when all three channels lie within this many levels of
// 0 or of 255: the correction writes a blown highlight as 254, keeping 255
// for paper white, and a channel of a saturated colour at an end is no loss.
inline constexpr unsigned kClipMargin = 1;
// A warning is given when the share of clipped pixels grows by more than
// this many percentage points.
inline constexpr double kClipWarnPoints = 1.0;
// A scene whose mean luminance lies below this level is dark, and a rise of
// its mean by this many levels or more is a large brightening.
inline constexpr double kDarkSceneMean = 80;
inline constexpr double kLargeBrightening = 30;

// Counts of each level of red, green, blue and luminance (Y = 0.299 R +
// 0.587 G + 0.114 B, in the library's fixed point), and of the clipped
// pixels in the shadows and in the highlights.
struct Histograms {
  std::array<std::array<std::uint32_t, 256>, 4> counts{};  // R, G, B, Y
  std::uint64_t pixels = 0;
  std::uint64_t shadows = 0, highlights = 0;
};

Histograms measure_histograms(const Picture& picture);

// A pixel's luminance level, as the histograms count it.
inline unsigned luma(unsigned r, unsigned g, unsigned b) {
  return (306 * r + 601 * g + 117 * b) >> 10;
}

// The mean luminance, and the shares of clipped pixels in percent.
double mean_level(const Histograms& histograms);
double shadows_percent(const Histograms& histograms);
double highlights_percent(const Histograms& histograms);

// Fills the review's measures from the histograms before and after the
// correction, and its warnings.
void review_correction(PictureReview& review, const Histograms& before, const Histograms& after);

// The size of a correction, in levels: how far the mean level moved, plus
// the size of the colour cast removed (its Cb and Cr steps as a distance).
double change_size(const PictureSummary& summary);

// The order in which the review page shows pictures by default, highest
// first: pictures with warnings before the others, then larger changes.
double review_priority(const PictureSummary& summary);

}  // namespace zkcli
