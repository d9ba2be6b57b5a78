// 3-D interpolation: the fast per-level-table interpolator and the plain one
// against a reference written from the description, on a random table.
#include "colour/interpolate3d.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "colour/table_limits.h"

namespace zkimgset::colour {
namespace {

// The plain reading: grid coordinate, node and fraction per channel, the
// eight corner weights, (256 + sum) >> 9, limited.
Rgb8 reference(const std::vector<std::uint8_t>& t, int r, int g, int b) {
  const int v[3] = {r, g, b};
  int n[3], f[3];
  for (int c = 0; c < 3; ++c) {
    const int u = v[c] > 13 ? v[c] - 7 : (v[c] + 1) / 2;
    n[c] = u / 8;
    f[c] = u % 8;
  }
  int out[3];
  for (int c = 0; c < 3; ++c) {
    int s = 256;
    for (int di = 0; di < 2; ++di)
      for (int dj = 0; dj < 2; ++dj)
        for (int dk = 0; dk < 2; ++dk) {
          const int w = (di ? f[0] : 8 - f[0]) * (dj ? f[1] : 8 - f[1]) * (dk ? f[2] : 8 - f[2]);
          s += w * t[((n[0] + di) * 1024 + (n[1] + dj) * 32 + (n[2] + dk)) * 3 + c];
        }
    out[c] = std::min(255, std::max(0, s >> 9));
  }
  return {std::uint8_t(out[0]), std::uint8_t(out[1]), std::uint8_t(out[2])};
}

TEST(Interpolate3d, FastInterpolatorMatchesTheReference) {
  std::vector<std::uint8_t> t(kTable3dBytes, 0);
  std::mt19937 random(11);
  for (std::size_t i = 0; i < kTable3dNodeBytes; ++i) t[i] = static_cast<std::uint8_t>(random());
  const Interpolator fast(t.data());
  for (int r = 0; r < 256; ++r)
    for (int g = 0; g < 256; ++g)
      for (int b : {0, 1, 7, 13, 14, 15, 16, 100, 201, 247, 254, 255, (r * 7 + g) % 256}) {
        const Rgb8 expected = reference(t, r, g, b);
        ASSERT_EQ(fast(std::uint8_t(r), std::uint8_t(g), std::uint8_t(b)), expected)
            << r << "," << g << "," << b;
        ASSERT_EQ(interpolate3d(t.data(), r, g, b), expected);
      }
}

}  // namespace
}  // namespace zkimgset::colour
