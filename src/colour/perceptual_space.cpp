// sRGB <-> CIELAB through linear light and CIE XYZ, D65 white, with the sRGB
// transfer function and the IEC 61966-2-1 matrices.
#include "colour/perceptual_space.h"

#include <algorithm>
#include <cmath>

namespace zkimgset::colour {
namespace {

constexpr double kWhite[3] = {0.95047, 1.0, 1.08883};
constexpr double kEpsilon = 216.0 / 24389.0, kKappa = 24389.0 / 27.0;

double to_linear(double v) {
  const double e = v / 255.0;
  return e <= 0.04045 ? e / 12.92 : std::pow((e + 0.055) / 1.055, 2.4);
}

double to_level(double linear) {
  const double e = linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
  return std::clamp(std::round(255.0 * e), 0.0, 255.0);
}

double f(double t) { return t > kEpsilon ? std::cbrt(t) : (kKappa * t + 16) / 116; }
double f_inverse(double t) {
  const double cube = t * t * t;
  return cube > kEpsilon ? cube : (116 * t - 16) / kKappa;
}

}  // namespace

Lab rgb_to_lab(double r, double g, double b) noexcept {
  const double lr = to_linear(r), lg = to_linear(g), lb = to_linear(b);
  const double x = (0.4124564 * lr + 0.3575761 * lg + 0.1804375 * lb) / kWhite[0];
  const double y = (0.2126729 * lr + 0.7151522 * lg + 0.0721750 * lb) / kWhite[1];
  const double z = (0.0193339 * lr + 0.1191920 * lg + 0.9503041 * lb) / kWhite[2];
  return {116 * f(y) - 16, 500 * (f(x) - f(y)), 200 * (f(y) - f(z))};
}

void lab_to_rgb(const Lab& lab, double& r, double& g, double& b) noexcept {
  const double fy = (lab.l + 16) / 116, fx = fy + lab.a / 500, fz = fy - lab.b / 200;
  const double x = f_inverse(fx) * kWhite[0], y = f_inverse(fy) * kWhite[1],
               z = f_inverse(fz) * kWhite[2];
  r = to_level(3.2404542 * x - 1.5371385 * y - 0.4985314 * z);
  g = to_level(-0.9692660 * x + 1.8760108 * y + 0.0415560 * z);
  b = to_level(0.0556434 * x - 0.2040259 * y + 1.0572252 * z);
}

}  // namespace zkimgset::colour
