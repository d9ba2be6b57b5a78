// The linear level and its inverse follow the ITU-R BT.709 transfer
// function.
#include "maths/linear_light.h"

#include <cmath>
#include <cstddef>

namespace zkimgset::maths {

// The BT.709 transfer function inverted. The switch from the linear segment
// to the power law sits where the level passes 0.018 of full scale (levels
// 0..4 linear), not where the encoded value does; the tables of the format
// were made this way and are kept so.
const std::array<float, 256>& linear_level() noexcept {
  static const auto table = [] {
    std::array<float, 256> t{};
    for (int v = 0; v < 256; ++v) {
      const double e = v / 255.0;
      t[static_cast<std::size_t>(v)] =
          static_cast<float>(e <= 0.018 ? e / 4.5 : std::pow((e + 0.099) / 1.099, 1 / 0.45));
    }
    return t;
  }();
  return table;
}

// round(255 x BT.709 encoding of x / 1023), with the linear segment 4.5 x
// below 0.018.
const std::array<std::uint8_t, 1024>& linear_to_level() noexcept {
  static const auto table = [] {
    std::array<std::uint8_t, 1024> t{};
    for (int x = 0; x < 1024; ++x) {
      const double l = x / 1023.0;
      const double e = l < 0.018 ? 4.5 * l : 1.099 * std::pow(l, 0.45) - 0.099;
      t[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(std::lround(255 * e));
    }
    return t;
  }();
  return table;
}

}  // namespace zkimgset::maths
