// CIELAB (D65 white) for 8-bit sRGB colours: the space in which the
// small-picture skin-tone adjustment measures distances.
#pragma once

namespace zkimgset::colour {

struct Lab {
  double l, a, b;
};

Lab rgb_to_lab(double r, double g, double b) noexcept;
// Back to 8-bit levels, rounded and limited to 0..255.
void lab_to_rgb(const Lab& lab, double& r, double& g, double& b) noexcept;

}  // namespace zkimgset::colour
