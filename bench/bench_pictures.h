// Photo-like pictures for the benchmarks, and the floor that every pass over
// a picture is measured against: reading each pixel once, as fast as the
// machine reads (a plain byte-by-byte loop would run several times slower
// than memory and flatter whatever is compared with it).
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

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

// The white-margin scan pixel by pixel: the reference the fast one is
// checked against.
inline std::size_t count_non_white_plain(const std::uint8_t* rgb, std::size_t pixels) {
  std::size_t non_white = 0;
  for (std::size_t i = 0; i < 3 * pixels; i += 3)
    non_white += (rgb[i] & rgb[i + 1] & rgb[i + 2]) != 255;
  return non_white;
}

#if defined(__x86_64__) || defined(__i386__)
// 32 pixels (96 bytes) a step: a bit per byte that is 255, then a pixel is
// white when its three bits are set. Bit 3p of `white` below marks pixel p.
__attribute__((target("avx2,bmi2"))) inline std::size_t count_non_white_avx2(
    const std::uint8_t* rgb, std::size_t pixels) {
  const __m256i all = _mm256_set1_epi8(char(0xFF));
  constexpr std::uint64_t kEveryThird = 0x9249249249249249u;  // bits 0, 3, 6, ..., 63
  std::size_t white = 0, p = 0;
  for (; p + 32 <= pixels; p += 32, rgb += 96) {
    std::uint64_t m[3];
    for (int k = 0; k < 3; ++k)
      m[k] = static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(rgb + 32 * k)), all)));
    // 96 mask bits as a low 64 and a high 32 (bits 64..95).
    const std::uint64_t lo = m[0] | m[1] << 32, hi = m[2];
    const std::uint64_t lo1 = lo >> 1 | hi << 63, lo2 = lo >> 2 | hi << 62;
    white += static_cast<std::size_t>(__builtin_popcountll(lo & lo1 & lo2 & kEveryThird));
    // Bits 64..95: pixel 22 starts at bit 66, so every third bit from 2.
    white += static_cast<std::size_t>(
        __builtin_popcountll(hi & hi >> 1 & hi >> 2 & (kEveryThird << 2) & 0xFFFFFFFFu));
  }
  return (p - white) + count_non_white_plain(rgb, pixels - p);
}
#endif

// A white-margin scan: one read of every pixel, vectorised where it can be.
inline std::size_t count_non_white(const std::vector<std::uint8_t>& rgb) {
#if defined(__x86_64__) || defined(__i386__)
  if (__builtin_cpu_supports("avx2")) return count_non_white_avx2(rgb.data(), rgb.size() / 3);
#endif
  return count_non_white_plain(rgb.data(), rgb.size() / 3);
}

}  // namespace zkimgset::bench
