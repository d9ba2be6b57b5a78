// Photo-like pictures for the benchmarks, and the floor that every pass over
// a picture is measured against: reading each pixel once.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace zkimgset::bench {

// Smooth shading with fine grain, packed R, G, B, never pure white.
inline std::vector<std::uint8_t> photograph(int width, int height) {
  std::vector<std::uint8_t> rgb(3 * std::size_t(width) * std::size_t(height));
  std::mt19937 random(1);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double shade = std::sin(x * 0.004) * std::cos(y * 0.005) * 0.5 + 0.5;
      std::uint8_t* p = &rgb[3 * (std::size_t(y) * std::size_t(width) + std::size_t(x))];
      for (int c = 0; c < 3; ++c)
        p[c] = static_cast<std::uint8_t>(20 + 200 * shade + 10 * c + random() % 12);
    }
  return rgb;
}

// A naive white-margin scan: one plain read of every pixel.
inline std::size_t count_non_white(const std::vector<std::uint8_t>& rgb) {
  std::size_t non_white = 0;
  for (std::size_t i = 0; i < rgb.size(); i += 3)
    non_white += (rgb[i] & rgb[i + 1] & rgb[i + 2]) != 255;
  return non_white;
}

}  // namespace zkimgset::bench
