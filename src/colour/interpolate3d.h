// Trilinear interpolation in a 32 x 32 x 32 colour table (3 bytes a node,
// blue fastest) with 3-bit fractions: node 0 of an axis stands for input 0,
// node n >= 1 for input 8n + 7, so the first cell spans inputs 0..15 at half
// slope and every other cell 8 inputs.
#pragma once

#include <cstdint>

namespace zkimgset::colour {

struct Rgb8 {
  std::uint8_t r, g, b;
  bool operator==(const Rgb8&) const = default;
};

// The grid position of an input level: node index (0..31) and 3-bit fraction.
struct GridStep {
  std::uint8_t node, fraction;
};
GridStep grid_step(int v) noexcept;

// One colour through a 107811-byte table (the zero tail beyond the 32-node
// grid is read with weight 0 at the upper edge).
Rgb8 interpolate3d(const std::uint8_t* table, int r, int g, int b) noexcept;

// Pre-computed per-level node offsets and fractions for converting many
// pixels through one table; gives exactly interpolate3d's results.
class Interpolator {
 public:
  explicit Interpolator(const std::uint8_t* table) noexcept;
  Rgb8 operator()(std::uint8_t r, std::uint8_t g, std::uint8_t b) const noexcept;
  const std::uint8_t* table() const noexcept { return table_; }

 private:
  const std::uint8_t* table_;
  std::uint32_t offset_r_[256], offset_g_[256], offset_b_[256];
  std::uint8_t fraction_[256];
};

}  // namespace zkimgset::colour
