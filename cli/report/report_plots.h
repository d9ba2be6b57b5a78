// The report's three charts of a picture's correction, as inline SVG.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

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

}  // namespace zkcli
