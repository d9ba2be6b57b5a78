// The review page's charts of a picture's correction, as inline SVG.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/picture_review.h"

namespace zkcli {

// A level of the analysis shown on the tone curve as a vertical line.
struct LevelMarker {
  std::string name;       // shown beside the line, with the level
  int level = 0;          // 0..255
  std::string css_class;  // the line's colour
};

// The tone curve: input level on x, output level on y, with the identity
// dashed for comparison.
std::string tone_curve_plot(std::span<const std::uint8_t, 256> tone,
                            const std::vector<LevelMarker>& markers);

// The colour-balance offset as a point on the Cb/Cr plane.
std::string colour_balance_plot(int cb, int cr);

// The saturation coefficients by index, against the neutral 1024.
std::string saturation_plot(std::span<const std::int16_t, 100> coefficients);

// The picture's red, green, blue and luminance histograms: the luminance
// filled, the channels as lines, over 32 bins of 8 levels. Heights are
// scaled to the fullest bin between the ends, so that a spike of clipped
// pixels at 0 or 255 shows as a full bar without flattening the rest.
std::string histogram_plot(const Histograms& histograms, std::string_view title);

}  // namespace zkcli
