// Synthetic pictures for the analysis tests, in the packed RGB layout, and
// their bitmap (bottom-up, B G R, rows padded to 4 bytes) twins.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "geometry/picture.h"

namespace zkimgset::testing {

struct TestPicture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgb;  // packed, top row first

  TestPicture(int w, int h, std::function<void(int x, int y, std::uint8_t* rgb)> paint);
  const std::uint8_t* pixel(int x, int y) const { return &rgb[3 * (std::size_t(y) * width + x)]; }
  geometry::Picture packed() const {
    return {rgb.data(), width, height, geometry::Layout::PackedRgb};
  }
};

// The same picture as a bottom-up bitmap; keep it alive while it is read.
struct BitmapPicture {
  std::vector<std::uint8_t> bytes;
  geometry::Picture picture;
  explicit BitmapPicture(const TestPicture& source);
};

// Each pixel tells where it is: R = x mod 256, G = y mod 256,
// B = (x / 256) + 16 (y / 256).
TestPicture coordinate_picture(int width, int height);
struct Position {
  int x, y;
  bool operator==(const Position&) const = default;
};
Position decode_position(std::uint8_t r, std::uint8_t g, std::uint8_t b);

// Random levels 0..254 (never pure white).
TestPicture noise_picture(int width, int height, unsigned seed);

// A textured photograph-like scene: levels base..base + spread in soft
// waves with a little grain, each channel shifted by its cast.
TestPicture scene(int width, int height, int base, int spread, int dr, int dg, int db);

}  // namespace zkimgset::testing
