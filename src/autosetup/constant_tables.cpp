// Constant tables of the analysis. The zone map is given whole; the grey
// threshold and level density tables are known only by their telling values,
// and are built as monotone cubic (Fritsch-Carlson) interpolations through
// them, rounded: that keeps every telling value exact and the stated shapes
// (the threshold rising to its top at 103 and falling back, the density
// falling throughout) without inventing wiggles between them.
#include "autosetup/constant_tables.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace zkimgset::autosetup {
namespace {

struct Knot {
  double x, y;
};

// Monotone piecewise-cubic Hermite interpolation (Fritsch-Carlson): slopes
// are zero at local extrema and the weighted harmonic mean of the secants
// elsewhere, secants at the ends. Between monotone knots it stays monotone.
std::vector<double> monotone_cubic(const std::vector<Knot>& k, int count) {
  const std::size_t n = k.size();
  std::vector<double> secant(n - 1), slope(n);
  for (std::size_t i = 0; i + 1 < n; ++i) secant[i] = (k[i + 1].y - k[i].y) / (k[i + 1].x - k[i].x);
  slope[0] = secant[0];
  slope[n - 1] = secant[n - 2];
  for (std::size_t i = 1; i + 1 < n; ++i) {
    if (secant[i - 1] * secant[i] <= 0) {
      slope[i] = 0;
    } else {
      const double h0 = k[i].x - k[i - 1].x, h1 = k[i + 1].x - k[i].x;
      const double w1 = 2 * h1 + h0, w2 = h1 + 2 * h0;
      slope[i] = (w1 + w2) / (w1 / secant[i - 1] + w2 / secant[i]);
    }
  }
  std::vector<double> out(static_cast<std::size_t>(count));
  std::size_t seg = 0;
  for (int x = 0; x < count; ++x) {
    while (seg + 2 < n && x > k[seg + 1].x) ++seg;
    const double h = k[seg + 1].x - k[seg].x, t = (x - k[seg].x) / h;
    const double t2 = t * t, t3 = t2 * t;
    out[static_cast<std::size_t>(x)] =
        (2 * t3 - 3 * t2 + 1) * k[seg].y + (t3 - 2 * t2 + t) * h * slope[seg] +
        (-2 * t3 + 3 * t2) * k[seg + 1].y + (t3 - t2) * h * slope[seg + 1];
  }
  return out;
}

template <class T, std::size_t N>
std::array<T, N> rounded(const std::vector<double>& values) {
  std::array<T, N> table{};
  for (std::size_t i = 0; i < N; ++i) table[i] = static_cast<T>(std::lround(values[i]));
  return table;
}

}  // namespace

const std::array<std::uint8_t, 256>& grey_threshold() noexcept {
  static const auto table = rounded<std::uint8_t, 256>(monotone_cubic({{0, 0},
                                                                       {16, 6},
                                                                       {32, 23},
                                                                       {64, 67},
                                                                       {96, 101},
                                                                       {103, 103},
                                                                       {128, 102},
                                                                       {160, 101},
                                                                       {192, 66},
                                                                       {224, 23},
                                                                       {255, 0}},
                                                                      256));
  return table;
}

const std::array<std::uint16_t, 256>& level_density() noexcept {
  static const auto table = rounded<std::uint16_t, 256>(monotone_cubic({{0, 2230},
                                                                        {1, 2225},
                                                                        {2, 2219},
                                                                        {16, 2051},
                                                                        {32, 1801},
                                                                        {64, 1286},
                                                                        {128, 592},
                                                                        {192, 213},
                                                                        {254, 101},
                                                                        {255, 100}},
                                                                       256));
  return table;
}

namespace {

// One digit per 4 x 4 thumbnail pixels; the last map row covers rows 88..91.
constexpr char kZoneMap[kZoneRows][kZoneColumns + 1] = {
    "00000000011111111111111000000000", "00000001111111111111111110000000",
    "00000111111111111111111111100000", "00001111111122222222111111110000",
    "00011111112222222222221111111000", "00011111122222222222222111111000",
    "00111111222223333332222211111100", "00111112222233333333222221111100",
    "01111112222333333333322221111110", "01111122223333333333332222111110",
    "01111122223333333333332222111110", "01111122223333333333332222111110",
    "01111122223333333333332222111110", "01111122223333333333332222111110",
    "01111112222333333333322221111110", "00111112222233333333222221111100",
    "00111111222223333332222211111100", "00011111122222222222222111111000",
    "00011111112222222222221111111000", "00001111111122222222111111110000",
    "00000111111111111111111111100000", "00000001111111111111111110000000",
    "00000000011111111111111000000000",
};

}  // namespace

int zone_of(int thumb_index) noexcept {
  return kZoneMap[thumb_index / (4 * 128)][thumb_index % 128 / 4] - '0';
}

}  // namespace zkimgset::autosetup
