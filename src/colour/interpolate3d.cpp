// 3-D interpolation. The eight corner weights of a cell sum to 512; each
// output is (256 + the weighted sum) >> 9, rounding half up, then limited to
// 0..255. Node index 32 (input 255's upper neighbour) lands in the table's
// zero tail and always carries weight 0.
#include "colour/interpolate3d.h"

namespace zkimgset::colour {
namespace {

constexpr int kAxis = 32;
constexpr std::uint32_t kStrideR = kAxis * kAxis * 3, kStrideG = kAxis * 3, kStrideB = 3;

std::uint8_t limit(int s) { return static_cast<std::uint8_t>(s > 255 ? 255 : s < 1 ? 0 : s); }

}  // namespace

GridStep grid_step(int v) noexcept {
  const int u = v > 13 ? v - 7 : (v + 1) >> 1;
  return {static_cast<std::uint8_t>(u >> 3), static_cast<std::uint8_t>(u & 7)};
}

Rgb8 interpolate3d(const std::uint8_t* table, int r, int g, int b) noexcept {
  const GridStep sr = grid_step(r), sg = grid_step(g), sb = grid_step(b);
  const int fr = sr.fraction, fg = sg.fraction, fb = sb.fraction;
  const int gr = 8 - fr, gg = 8 - fg, gb = 8 - fb;
  const std::uint8_t* p = table + sr.node * kStrideR + sg.node * kStrideG + sb.node * kStrideB;
  const int weight[8] = {gr * gg * gb, gr * gg * fb, gr * fg * gb, gr * fg * fb,
                         fr * gg * gb, fr * gg * fb, fr * fg * gb, fr * fg * fb};
  const std::uint32_t corner[8] = {0,
                                   kStrideB,
                                   kStrideG,
                                   kStrideG + kStrideB,
                                   kStrideR,
                                   kStrideR + kStrideB,
                                   kStrideR + kStrideG,
                                   kStrideR + kStrideG + kStrideB};
  int sum[3] = {256, 256, 256};
  for (int k = 0; k < 8; ++k)
    for (int c = 0; c < 3; ++c) sum[c] += weight[k] * p[corner[k] + c];
  return {limit(sum[0] >> 9), limit(sum[1] >> 9), limit(sum[2] >> 9)};
}

Interpolator::Interpolator(const std::uint8_t* table) noexcept : table_(table) {
  for (int v = 0; v < 256; ++v) {
    const GridStep s = grid_step(v);
    offset_r_[v] = s.node * kStrideR;
    offset_g_[v] = s.node * kStrideG;
    offset_b_[v] = s.node * kStrideB;
    fraction_[v] = s.fraction;
  }
}

Rgb8 Interpolator::operator()(std::uint8_t r, std::uint8_t g, std::uint8_t b) const noexcept {
  const std::uint8_t* p = table_ + offset_r_[r] + offset_g_[g] + offset_b_[b];
  const int fr = fraction_[r], fg = fraction_[g], fb = fraction_[b];
  const int gr = 8 - fr, gg = 8 - fg, gb = 8 - fb;
  // Weights of the two blue corners of each red-green edge.
  const int w00 = gr * gg, w01 = gr * fg, w10 = fr * gg, w11 = fr * fg;
  int sum[3];
  for (int c = 0; c < 3; ++c) {
    const std::uint8_t* q = p + c;
    const int near_b =
        w00 * q[0] + w01 * q[kStrideG] + w10 * q[kStrideR] + w11 * q[kStrideR + kStrideG];
    const int far_b = w00 * q[kStrideB] + w01 * q[kStrideG + kStrideB] +
                      w10 * q[kStrideR + kStrideB] + w11 * q[kStrideR + kStrideG + kStrideB];
    sum[c] = (256 + gb * near_b + fb * far_b) >> 9;
  }
  return {limit(sum[0]), limit(sum[1]), limit(sum[2])};
}

}  // namespace zkimgset::colour
