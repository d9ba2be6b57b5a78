// The neighbour-difference pass: how much neighbouring thumbnail pixels
// differ in luminance and in each colour difference, which sets how wide the
// grouping's tolerances are (and whether grouping is worth it at all).
#include <algorithm>
#include <cstdlib>

#include "autosetup/grouping.h"

namespace zkimgset::autosetup {
namespace {

// Every pixel's right, down-right, down and down-left neighbours that exist.
constexpr long kPairs = 46446;

long sum_of_differences(const std::uint8_t* plane) {
  long sum = 0;
  for (int row = 0; row < kThumbHeight; ++row) {
    for (int column = 0; column < kThumbWidth; ++column) {
      const int i = row * kThumbWidth + column;
      const int v = plane[i];
      if (column < kThumbWidth - 1) sum += std::abs(v - plane[i + 1]);
      if (row == kThumbHeight - 1) continue;
      const int below = i + kThumbWidth;
      if (column < kThumbWidth - 1) sum += std::abs(v - plane[below + 1]);
      sum += std::abs(v - plane[below]);
      if (column > 0) sum += std::abs(v - plane[below - 1]);
    }
  }
  return sum;
}

std::int16_t at_least_one(double value) {
  return static_cast<std::int16_t>(std::max(1, static_cast<int>(value)));
}

}  // namespace

void neighbour_differences(const _ThumbnailData& thumb, AnalysisState& s) noexcept {
  const double yy = static_cast<double>(sum_of_differences(thumb.plane[kPlaneYy])) / kPairs;
  const double cb = static_cast<double>(sum_of_differences(thumb.plane[kPlaneBlueCb])) / kPairs;
  const double cr = static_cast<double>(sum_of_differences(thumb.plane[kPlaneRedCr])) / kPairs;
  s.dif_av = static_cast<std::int16_t>(yy);
  s.groups.cb_dif = static_cast<std::int16_t>(cb);
  s.groups.cr_dif = static_cast<std::int16_t>(cr);
  s.toler = at_least_one(yy * 0.5);
  s.groups.cb_limit = at_least_one(cb);
  s.groups.cr_limit = at_least_one(cr);
}

void widen_tolerances(AnalysisState& s) noexcept {
  s.toler = static_cast<std::int16_t>(s.toler + (s.toler < 10 ? 1 : s.toler < 20 ? 2 : 3));
  for (std::int16_t* limit : {&s.groups.cb_limit, &s.groups.cr_limit})
    *limit = static_cast<std::int16_t>(*limit + (*limit < 10 ? 1 : 2));
}

}  // namespace zkimgset::autosetup
