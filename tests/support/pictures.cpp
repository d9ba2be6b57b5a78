#include "support/pictures.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace zkimgset::testing {

TestPicture::TestPicture(int w, int h, std::function<void(int, int, std::uint8_t*)> paint)
    : width(w), height(h), rgb(3 * std::size_t(w) * h) {
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) paint(x, y, &rgb[3 * (std::size_t(y) * w + x)]);
}

BitmapPicture::BitmapPicture(const TestPicture& source)
    : picture{nullptr, source.width, source.height, geometry::Layout::BitmapBgr} {
  const std::size_t stride = picture.row_bytes();
  bytes.assign(stride * source.height, 0);
  for (int y = 0; y < source.height; ++y) {
    std::uint8_t* row = &bytes[stride * std::size_t(source.height - 1 - y)];
    for (int x = 0; x < source.width; ++x) {
      const std::uint8_t* p = source.pixel(x, y);
      row[3 * x] = p[2];
      row[3 * x + 1] = p[1];
      row[3 * x + 2] = p[0];
    }
  }
  picture.pixels = bytes.data();
}

TestPicture coordinate_picture(int width, int height) {
  return TestPicture(width, height, [](int x, int y, std::uint8_t* p) {
    p[0] = static_cast<std::uint8_t>(x & 255);
    p[1] = static_cast<std::uint8_t>(y & 255);
    p[2] = static_cast<std::uint8_t>((x >> 8) + 16 * (y >> 8));
  });
}

Position decode_position(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  return {r + 256 * (b & 15), g + 256 * (b >> 4)};
}

TestPicture noise_picture(int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  return TestPicture(width, height, [&](int, int, std::uint8_t* p) {
    for (int c = 0; c < 3; ++c) p[c] = static_cast<std::uint8_t>(random() % 255);
  });
}

TestPicture scene(int width, int height, int base, int spread, int dr, int dg, int db) {
  std::mt19937 random(17);
  return TestPicture(width, height, [&](int x, int y, std::uint8_t* p) {
    const double shade = std::sin(x / 37.0) * std::cos(y / 23.0) * 0.5 + 0.5;
    const int v = base + static_cast<int>(spread * shade) + static_cast<int>(random() % 7);
    const int channel[3] = {v + dr, v + dg, v + db};
    for (int c = 0; c < 3; ++c) p[c] = static_cast<std::uint8_t>(std::clamp(channel[c], 0, 254));
  });
}

}  // namespace zkimgset::testing
