// The resize passes' AVX2 row kernels. Sums are taken in 32-bit lanes (the
// callers have checked that no sum leaves them), negative sums become 0, and
// the division is the divider's own multiply-high and shifts, so each
// output byte is the plain pass's.
#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#include "resize/vector_passes.h"

namespace zkimgset::resize {
namespace {

constexpr int kLanes = 8;
constexpr std::size_t kBlock = 32;  // bytes of an output row a vertical step makes

// max(sum, 0) / divisor, truncated and limited to 255, in every lane (at
// most 2^31 - 1 in).
__attribute__((target("avx2"))) inline __m256i divided(__m256i sum, VectorDivision d,
                                                       __m128i shift) {
  const __m256i x = _mm256_max_epi32(sum, _mm256_setzero_si256());
  const __m256i m = _mm256_set1_epi32(static_cast<int>(d.multiplier));
  const __m256i even = _mm256_srli_epi64(_mm256_mul_epu32(x, m), 32);
  const __m256i odd = _mm256_mul_epu32(_mm256_srli_epi64(x, 32), m);
  const __m256i t = _mm256_blend_epi32(even, odd, 0xAA);  // high halves of x m
  const __m256i q = _mm256_add_epi32(_mm256_srli_epi32(_mm256_sub_epi32(x, t), 1), t);
  return _mm256_min_epu32(_mm256_srl_epi32(q, shift), _mm256_set1_epi32(255));
}

}  // namespace

__attribute__((target("avx2"))) void horizontal_row_avx2(const std::uint8_t* row,
                                                         const HorizontalTaps& taps,
                                                         std::int32_t add, VectorDivision d,
                                                         std::uint8_t* out) noexcept {
  const __m128i shift = _mm_cvtsi32_si128(d.shift - 1);
  const __m256i byte = _mm256_set1_epi32(0xFF);
  const char z = -1;
  // R, G, B, 0 per output back to 12 bytes a 128-bit lane.
  const __m256i pack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z, 0, 1, 2,
                                        4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z);
  const auto* base = reinterpret_cast<const int*>(row);
  for (int o = 0; o < taps.outputs; o += kLanes, out += 3 * kLanes) {
    __m256i sum[3] = {_mm256_set1_epi32(add), _mm256_set1_epi32(add), _mm256_set1_epi32(add)};
    for (int t = 0; t < taps.taps; ++t) {
      const std::size_t at = std::size_t(t) * std::size_t(taps.stride) + std::size_t(o);
      const __m256i offset = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(taps.offset + at));
      const __m256i weight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(taps.weight + at));
      // Four bytes from each tap's pixel: R, G, B and one more.
      const __m256i pixel = _mm256_i32gather_epi32(base, offset, 1);
      for (int c = 0; c < 3; ++c)
        sum[c] = _mm256_add_epi32(
            sum[c],
            _mm256_mullo_epi32(_mm256_and_si256(_mm256_srli_epi32(pixel, 8 * c), byte), weight));
    }
    // R, G, B, 0 a lane.
    __m256i rgbx = _mm256_setzero_si256();
    for (int c = 0; c < 3; ++c)
      rgbx = _mm256_or_si256(rgbx, _mm256_slli_epi32(divided(sum[c], d, shift), 8 * c));
    const __m256i packed = _mm256_shuffle_epi8(rgbx, pack);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(packed));
    const __m128i high = _mm256_extracti128_si256(packed, 1);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 12), high);
    const int last = _mm_extract_epi32(high, 2);
    __builtin_memcpy(out + 20, &last, 4);
  }
}

__attribute__((target("avx2"))) std::size_t vertical_row_avx2(const RowTap* taps, int count,
                                                              std::int32_t add, VectorDivision d,
                                                              std::uint8_t* out,
                                                              std::size_t bytes) noexcept {
  const __m128i shift = _mm_cvtsi32_si128(d.shift - 1);
  std::size_t i = 0;
  for (; i + kBlock <= bytes; i += kBlock) {
    __m256i sum[4];
    for (auto& s : sum) s = _mm256_set1_epi32(add);
    for (int t = 0; t < count; ++t) {
      const std::uint8_t* p = taps[t].row + i;
      const __m256i weight = _mm256_set1_epi32(taps[t].weight);
      for (int k = 0; k < 4; ++k) {
        const __m256i v =
            _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + kLanes * k)));
        sum[k] = _mm256_add_epi32(sum[k], _mm256_mullo_epi32(v, weight));
      }
    }
    // Four blocks of eight to bytes: the packs leave them in the order
    // 0 1 2 3 within 128-bit halves, which the permute puts right.
    const __m256i words = _mm256_packus_epi32(divided(sum[0], d, shift), divided(sum[1], d, shift));
    const __m256i words2 =
        _mm256_packus_epi32(divided(sum[2], d, shift), divided(sum[3], d, shift));
    const __m256i bytes32 = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(words, words2),
                                                        _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), bytes32);
  }
  return i;
}

}  // namespace zkimgset::resize
#else
// Elsewhere the vector kernels are never in use; these only link.
#include "resize/vector_passes.h"

namespace zkimgset::resize {

void horizontal_row_avx2(const std::uint8_t*, const HorizontalTaps&, std::int32_t, VectorDivision,
                         std::uint8_t*) noexcept {}

std::size_t vertical_row_avx2(const RowTap*, int, std::int32_t, VectorDivision, std::uint8_t*,
                              std::size_t) noexcept {
  return 0;
}

}  // namespace zkimgset::resize
#endif
