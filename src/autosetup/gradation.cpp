// The gradation. The full gradation bends a density-to-density curve (a
// quadratic through the two ends of the print's density range and the moved
// picture density) into a level map, and reads it between a black and a
// white point. The final stage chains the level gamma table onto `tone`, so
// that the record's tone table holds both look-ups and a caller's record is
// complete on its own. Integer divisions truncate toward zero throughout.
#include "autosetup/gradation.h"

#include <algorithm>
#include <cmath>

#include "autosetup/constant_tables.h"

namespace zkimgset::autosetup {
namespace {

constexpr int kLightest = 100, kDarkest = 2230, kTarget = 700;
constexpr std::int16_t kAdjustALimit = 30;
constexpr std::int16_t kLevelMin = 70, kLevelMax = 130;
constexpr std::uint16_t kSimpleDensityWeight = 1200;

double density(int level) { return level_density()[static_cast<std::size_t>(level)]; }

// The share w of the subject in the blended density, from its pixel count.
double subject_weight(int n) {
  if (n < 600) return n / 2000.0;
  if (n < 1500) return (n - 600) / 3000.0 + 0.3;
  if (n < 2400) return (n - 1500) / 4500.0 + 0.6;
  if (n < 3750) return (n - 2400) / 6750.0 + 0.8;
  return 1.0;
}

// For each level, the fractional level whose density the curve through
// (100, 100), (x0, y0), (2230, 2230) gives it.
void build_level_map(double x0, double y0, float* map) {
  const double a = kLightest, b = kDarkest;
  auto curve = [&](double d) {
    return a * (d - x0) * (d - b) / ((a - x0) * (a - b)) +
           y0 * (d - a) * (d - b) / ((x0 - a) * (x0 - b)) +
           b * (d - a) * (d - x0) / ((b - a) * (b - x0));
  };
  for (int i = 0; i < kLevels; ++i) {
    const double p = curve(density(i));
    int k = 1;
    while (k < kLevels - 1 && !(density(k) < p)) ++k;
    map[i] = static_cast<float>((k - 1) + (density(k - 1) - p) / (density(k - 1) - density(k)));
  }
}

std::uint8_t read_map(const float* map, float x) {
  int k = 1;
  while (k < kLevels - 1 && !(k > x)) ++k;
  const double v = map[k - 1] + (double(map[k]) - map[k - 1]) * (x - k + 1);
  if (v >= 255) return 255;
  if (!(v >= 0)) return 0;  // negative, or not a number
  return static_cast<std::uint8_t>(v);
}

std::int16_t clamp_stored(std::int16_t& value, std::int16_t low, std::int16_t high) {
  value = std::clamp(value, low, high);
  return value;
}

}  // namespace

void simple_density(AnalysisState& s) noexcept {
  s.yy_select = s.yy_av;
  s.dens_eff = s.dens_av;
  s.dens_sel = s.dens_eff;
  s.selected_count = kThumbPixels;
  s.density_weight = kSimpleDensityWeight;
}

void full_gradation(AnalysisState& s, LibraryState& library) noexcept {
  const ExifParam& shot = library.shooting.param;
  const bool rendered = shot.CustomRendered == 1;
  const bool halve = (library.setup_mode & ZKIMGSET_SETUP_HALVE) != 0;

  int hi = s.wt_clp, lo = s.bk_clp;
  if (hi < lo + 51) hi = lo + 51;
  if (rendered) hi = (hi + 510) / 3, lo = lo / 3;
  if (halve) hi = (hi + 255) / 2, lo = lo / 2;

  const double f = s.selected_count / double{kThumbPixels};
  s.dens_eff = static_cast<std::int16_t>(s.dens_av * f + s.dens_eff * (1 - f));
  const double w = subject_weight(s.density_weight);
  const int blended = static_cast<int>(((2 - w) * s.dens_eff + s.dens_sel * w) / 2);
  const int target = kTarget - static_cast<int>(50 * w);

  // Centre against surround: a brighter centre lowers the contrast move,
  // less so in bright daylight.
  int z = (3 * s.zone_density[2] + 2 * s.zone_density[1] - 5 * s.zone_density[0]) / 10;
  if (z < 0 &&
      (shot.BrightnessValue_den == 0 || static_cast<float>(shot.BrightnessValue_num) /
                                                static_cast<float>(shot.BrightnessValue_den) <=
                                            6.0f))
    z = z * 2 / 3;

  // The move is limited so that the curve stays within the density range.
  double x = blended + z;
  const double y = target;
  if (x > y) {
    const double r = std::sqrt(double{kLightest} * kLightest + 2130 * y - 223000);
    x = std::min(x, kLightest + r);
  } else if (x < y) {
    const double r = std::sqrt(double{kDarkest} * kDarkest - 2130 * y - 223000);
    x = std::max(x, kDarkest - r);
  }
  int c = static_cast<int>(x) - target;
  if (c < 0) {
    c = z < 0 ? 3 * c / 5 : 2 * c / 5;
  } else if (z < 0) {
    c = 4 * c / 5;
  }
  if (s.sat_av > 1750) c = 2 * c / 3;
  if (rendered) c = c / 3;
  if (halve) c = c / 2;
  build_level_map(target + c, target, s.level_map);

  const int a = clamp_stored(library.adjust.SetupAdjustA, -kAdjustALimit, kAdjustALimit);
  const int lo2 = lo + a, hi2 = hi - a;
  for (int i = 0; i < kLevels; ++i) {
    float position;
    if (lo2 >= 0 && hi2 < 256) {
      if (i < lo2 || i >= hi2) {
        s.tone[i] = i < lo2 ? 0 : 255;
        continue;
      }
      position = static_cast<float>((i - lo2) * 255) / static_cast<float>(hi2 - lo2);
    } else if (lo2 >= 0) {
      if (i < lo2) {
        s.tone[i] = 0;
        continue;
      }
      position =
          static_cast<float>((255 - (hi2 - 255)) * (i - lo2)) / static_cast<float>(255 - lo2);
    } else if (hi2 < 256) {
      if (i >= hi2) {
        s.tone[i] = 255;
        continue;
      }
      position = static_cast<float>((lo2 + 255) * i) / static_cast<float>(hi2) - lo2;
    } else {
      position = static_cast<float>((255 - (hi2 - 255) + lo2) * i) / 255.0f - lo2;
    }
    s.tone[i] = read_map(s.level_map, position);
  }
}

void default_gradation(AnalysisState& s, LibraryState& library) noexcept {
  const int a = clamp_stored(library.adjust.SetupAdjustA, -kAdjustALimit, kAdjustALimit);
  for (int i = 0; i < kLevels; ++i) {
    double v;
    if (a >= 0) {
      v = i < a ? 0 : i < 255 - a ? (i - a) * 255.0 / (255 - 2 * a) + 0.5 : 255;
    } else {
      v = (2 * a + 255) * i / 255.0 - a + 0.5;
    }
    s.tone[i] = static_cast<std::uint8_t>(v);
  }
}

void final_tone_table(AnalysisState& s, LibraryState& library) noexcept {
  const double g = clamp_stored(library.adjust.SetupAdjustLevel, kLevelMin, kLevelMax) / 100.0;
  // The power is taken as exp(g ln x), which is not exact, and truncated
  // with no rounding term: with g = 1 some entries fall one below their
  // level, as the format's tables always have. Entry 255 stays 255.
  for (int i = 0; i < kLevels; ++i)
    s.level_gamma[i] = static_cast<std::uint8_t>(std::exp(g * std::log(i / 255.0)) * 255);
  for (std::uint8_t& t : s.tone) t = s.level_gamma[t];
}

}  // namespace zkimgset::autosetup
