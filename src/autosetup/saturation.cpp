// Saturation tables. The coefficients follow a circular arc through chroma
// 100 whose radius falls with the strength: positive strengths raise low
// chroma, negative ones lower it, and the last coefficient is always 1024.
#include "autosetup/saturation.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace zkimgset::autosetup {
namespace {

constexpr std::int16_t kUnity = 1024;
constexpr std::int16_t kAdjustLimit = 150;
// The default strength: the double whose arc radius comes out as 1200.
constexpr double kDefaultStrength = 1.475533357;
constexpr double kRadiusScale = 1691.0;
constexpr double kRadiusPower = -0.8817;

double clamped_adjustment(LibraryState& library) {
  library.adjust.SetupAdjustB =
      std::clamp<std::int16_t>(library.adjust.SetupAdjustB, -kAdjustLimit, kAdjustLimit);
  return library.adjust.SetupAdjustB / 10.0;
}

}  // namespace

void saturation_curve(double d, SaturationTable& table) noexcept {
  if (d == 0) {
    default_saturation_table(table);
    return;
  }
  const double radius =
      d > 0 ? kRadiusScale * std::pow(d, kRadiusPower) : -kRadiusScale * std::pow(-d, kRadiusPower);
  for (int i = 1; i <= kSatCoefficients; ++i) {
    const double q =
        radius * radius + (100 - radius) * (100 - radius) - (i - radius) * (i - radius);
    const double root = std::sqrt(std::max(q, 0.0));
    const double s = radius >= 0 ? root : -root;
    table[i - 1] = static_cast<std::int16_t>((s + 100 - radius) * 1024 / i + 0.5);
  }
}

void default_saturation_table(SaturationTable& table) noexcept {
  std::fill(std::begin(table), std::end(table), kUnity);
}

void full_saturation_table(AnalysisState& state, LibraryState& library) noexcept {
  const unsigned mode = library.setup_mode & 0xFF;
  double d = 0;
  if (mode != ZKIMGSET_SETUP_SATURATION_KEEP) {
    d = kDefaultStrength;
    if ((mode & ZKIMGSET_SETUP_STATISTICS) == 0) d *= 0.6667f;
    if (library.shooting.param.CustomRendered == 1) d *= 0.333333f;
    if ((mode & ZKIMGSET_SETUP_HALVE) != 0) d *= 0.5;
  }
  d += clamped_adjustment(library);
  saturation_curve(d, state.sat_coef);
}

void adjustment_saturation_table(SaturationTable& table, LibraryState& library) noexcept {
  saturation_curve(clamped_adjustment(library), table);
}

}  // namespace zkimgset::autosetup
