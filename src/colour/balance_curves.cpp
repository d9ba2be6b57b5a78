// The balance curves are the power curves 255 (x / 255)^g, rounded, with
// g from 1.495 (shift -7) to 0.682 (+7), and with the values every table of
// the format agrees on forced where rounding alone would miss them by one:
// the end values (254 at the top for shifts -7 .. -2, 255 otherwise) and the
// telling values at 16, 64, 128, 192 and 254 for shifts -7, -1, 0, +1 and +7.
#include "colour/balance_curves.h"

#include <algorithm>
#include <cmath>

namespace zkimgset::colour {
namespace {

constexpr double kGamma[kBalanceCurves] = {1.495, 1.416, 1.33,  1.258, 1.189, 1.13,  1.06, 1.0,
                                           0.949, 0.908, 0.852, 0.805, 0.762, 0.725, 0.682};

struct Telling {
  int shift;
  std::uint8_t at16, at64, at128, at192, at254;
};
constexpr Telling kTelling[] = {{-7, 4, 32, 91, 167, 253},
                                {-1, 14, 59, 123, 189, 254},
                                {0, 16, 64, 128, 192, 254},
                                {1, 19, 69, 133, 195, 254},
                                {7, 39, 100, 159, 210, 254}};

std::array<BalanceCurve, kBalanceCurves> build() {
  std::array<BalanceCurve, kBalanceCurves> curves{};
  for (int c = 0; c < kBalanceCurves; ++c) {
    BalanceCurve& curve = curves[static_cast<std::size_t>(c)];
    for (int i = 0; i < 256; ++i)
      curve[static_cast<std::size_t>(i)] =
          static_cast<std::uint8_t>(std::lround(255 * std::pow(i / 255.0, kGamma[c])));
    curve[255] = c - kMaxShift <= -2 ? 254 : 255;
    curve[254] = std::min(curve[254], curve[255]);
  }
  for (const Telling& t : kTelling) {
    BalanceCurve& curve = curves[static_cast<std::size_t>(t.shift + kMaxShift)];
    curve[16] = t.at16;
    curve[64] = t.at64;
    curve[128] = t.at128;
    curve[192] = t.at192;
    curve[254] = t.at254;
  }
  return curves;
}

}  // namespace

const BalanceCurve& balance_curve(int index) noexcept {
  static const auto curves = build();
  return curves[static_cast<std::size_t>(std::clamp(index, 0, kBalanceCurves - 1))];
}

std::int16_t curve_index_for_shift(int shift) noexcept {
  return static_cast<std::int16_t>(std::clamp(shift, -kMaxShift, kMaxShift) + kMaxShift);
}

}  // namespace zkimgset::colour
