// The packed pass's fast kernel: eight pixels at a time through the work
// table. Grid positions and fractions are computed in vector lanes, then
// each pixel takes its near and far red faces in one 32-byte register (two
// 16-byte loads, no gather), the blue weights of its fraction as byte pairs
// (at most 8 x 255 x 2 a sum) and the red-green weights as 16-bit pairs;
// the two faces' sums add up to the plain kernel's sum, regrouped, so the
// bytes are the same.
#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#include "colour/run_table.h"

namespace zkimgset::colour {
namespace {

constexpr int kLanes = 8;
constexpr int kFaceBytes = 16;
constexpr int kRedFaceStep = 32 * 32 * kFaceBytes;  // from a node's face to the next red node's

// The bytes of one channel of 8 interleaved pixels (bytes 0..15 and 8..23
// of the 24 in the two lanes) in 32-bit lanes.
__attribute__((target("avx2"))) __m256i channel_mask(int c) {
  const char z = -1;
  return _mm256_setr_epi8(char(c), z, z, z, char(3 + c), z, z, z, char(6 + c), z, z, z, char(9 + c),
                          z, z, z, char(4 + c), z, z, z, char(7 + c), z, z, z, char(10 + c), z, z,
                          z, char(13 + c), z, z, z);
}

}  // namespace

__attribute__((target("avx2"))) void interpolate_run_table_avx2(const RunTable& work,
                                                                const Interpolator& interpolate,
                                                                std::uint8_t* p, std::size_t n,
                                                                RunOptions options) noexcept {
  const int red = options.bgr ? 2 : 0, blue = 2 - red;
  const __m256i mask_r = channel_mask(red), mask_g = channel_mask(1), mask_b = channel_mask(blue);
  const __m256i seven_bytes = _mm256_set1_epi8(7), seven = _mm256_set1_epi32(7);
  const char z = -1;
  // R, G, B, 0 per pixel back to 12 bytes a 128-bit lane.
  const __m256i pack = red == 0
                           ? _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z, 0,
                                              1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z)
                           : _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, z, z, z, z, 2,
                                              1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, z, z, z, z);
  const auto* faces = reinterpret_cast<const std::uint8_t*>(work.face);
  const auto* blue_weights = reinterpret_cast<const std::uint8_t*>(work.blue);
  const auto* red_green_weights = reinterpret_cast<const std::uint8_t*>(work.red_green);
  alignas(32) std::int32_t face_at[kLanes], weights_at[kLanes];
  std::size_t i = 0;
  for (; i + kLanes <= n; i += kLanes, p += 3 * kLanes) {
    const __m256i bytes = _mm256_set_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8)),
                                           _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    // Grid coordinates of all 24 bytes at once: u = max(v - 7, (v + 1) / 2),
    // which is v - 7 above 13 and (v + 1) / 2 up to it; node u / 8,
    // fraction u mod 8.
    const __m256i u = _mm256_max_epu8(_mm256_subs_epu8(bytes, seven_bytes),
                                      _mm256_avg_epu8(bytes, _mm256_setzero_si256()));
    const __m256i ur = _mm256_shuffle_epi8(u, mask_r), ug = _mm256_shuffle_epi8(u, mask_g),
                  ub = _mm256_shuffle_epi8(u, mask_b);
    // Byte offsets: the face ((r node x 32 + g node) x 32 + b node) x 16,
    // the blue weights f x 32 and the red-green weights (8 fr + fg) x 32.
    const __m256i face =
        _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi32(_mm256_srli_epi32(ur, 3), 14),
                                        _mm256_slli_epi32(_mm256_srli_epi32(ug, 3), 9)),
                        _mm256_slli_epi32(_mm256_srli_epi32(ub, 3), 4));
    const __m256i weights =
        _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi32(_mm256_and_si256(ub, seven), 16 + 5),
                                        _mm256_slli_epi32(_mm256_and_si256(ur, seven), 8)),
                        _mm256_slli_epi32(_mm256_and_si256(ug, seven), 5));
    _mm256_store_si256(reinterpret_cast<__m256i*>(face_at), face);
    _mm256_store_si256(reinterpret_cast<__m256i*>(weights_at), weights);
    // Per pixel: 32-bit R, G, B, 0 sums of the near red face (low half) and
    // the far one (high half).
    __m256i sums[kLanes];
    for (int k = 0; k < kLanes; ++k) {
      const std::uint8_t* q = faces + face_at[k];
      const __m256i corners = _mm256_loadu2_m128i(
          reinterpret_cast<const __m128i*>(q + kRedFaceStep), reinterpret_cast<const __m128i*>(q));
      const auto w = static_cast<std::uint32_t>(weights_at[k]);
      const __m256i bw =
          _mm256_load_si256(reinterpret_cast<const __m256i*>(blue_weights + (w >> 16)));
      const __m256i rgw =
          _mm256_load_si256(reinterpret_cast<const __m256i*>(red_green_weights + (w & 0xFFFF)));
      sums[k] = _mm256_madd_epi16(_mm256_maddubs_epi16(corners, bw), rgw);
    }
    // Both faces added, pixels 2k and 2k + 1 in the halves of one register.
    const __m256i round = _mm256_set1_epi32(256);
    __m256i pairs[kLanes / 2];
    for (int k = 0; k < kLanes / 2; ++k) {
      const __m256i near = _mm256_permute2x128_si256(sums[2 * k], sums[2 * k + 1], 0x20);
      const __m256i far = _mm256_permute2x128_si256(sums[2 * k], sums[2 * k + 1], 0x31);
      pairs[k] = _mm256_srli_epi32(_mm256_add_epi32(_mm256_add_epi32(near, far), round), 9);
    }
    // Bytes, R, G, B, 0 a pixel: the packs leave pixels 0 2 4 6 | 1 3 5 7.
    __m256i rgbx = _mm256_packus_epi16(_mm256_packus_epi32(pairs[0], pairs[1]),
                                       _mm256_packus_epi32(pairs[2], pairs[3]));
    rgbx = _mm256_permutevar8x32_epi32(rgbx, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    if (options.guard) {
      const __m256i white = _mm256_cmpeq_epi32(rgbx, _mm256_set1_epi32(0x00FFFFFF));
      rgbx = _mm256_blendv_epi8(_mm256_min_epu8(rgbx, _mm256_set1_epi8(char(254))), rgbx, white);
    }
    const __m256i packed = _mm256_shuffle_epi8(rgbx, pack);
    // 12 bytes from each lane: 16 then 8 + 4, all within the 24.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(packed));
    const __m128i high = _mm256_extracti128_si256(packed, 1);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 12), high);
    const int last = _mm_extract_epi32(high, 2);
    __builtin_memcpy(p + 20, &last, 4);
  }
  interpolate_run_plain(interpolate, p, n - i, options);
}

}  // namespace zkimgset::colour
#endif
