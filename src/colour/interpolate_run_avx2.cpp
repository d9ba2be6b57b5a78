// The AVX2 run kernel: eight pixels at a time. Grid positions and weights are
// computed in vector lanes; the eight corner nodes of each pixel are gathered
// as 32-bit words (R, G, B and one byte more; the table's zero tail keeps the
// last node's read inside it). The blue axis is taken first, byte pairs
// times byte weights (at most 8 x 255 x 2 a sum), then each pair of
// red-green corners through one 16 x 16 -> 32-bit multiply-add. The sums are
// the plain kernel's, regrouped: the results are exactly the same.
#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#include "colour/interpolate_run.h"

namespace zkimgset::colour {
namespace {

// Byte shuffles between 8 interleaved pixels (lanes: bytes 0..15 and 8..23
// of the 24) and one channel in 32-bit lanes.
__attribute__((target("avx2"))) __m256i channel_mask(int c) {
  // Lane 0 holds pixels 0..3 at bytes 0..11; lane 1 holds pixels 4..7 at 4..15.
  const char z = -1;
  return _mm256_setr_epi8(char(c), z, z, z, char(3 + c), z, z, z, char(6 + c), z, z, z, char(9 + c),
                          z, z, z, char(4 + c), z, z, z, char(7 + c), z, z, z, char(10 + c), z, z,
                          z, char(13 + c), z, z, z);
}

// Node offset (node x stride, the stride a sum of two powers of two) and
// fraction from a grid coordinate u in 32-bit lanes.
__attribute__((target("avx2"))) inline __m256i split_grid(__m256i u, __m256i* offset,
                                                          int stride_shift_a, int stride_shift_b) {
  const __m256i node = _mm256_srli_epi32(u, 3);
  *offset = _mm256_add_epi32(_mm256_slli_epi32(node, stride_shift_a),
                             stride_shift_b >= 0 ? _mm256_slli_epi32(node, stride_shift_b) : node);
  return _mm256_and_si256(u, _mm256_set1_epi32(7));
}

}  // namespace

__attribute__((target("avx2"))) void interpolate_run_avx2(const Interpolator& interpolate,
                                                          std::uint8_t* p, std::size_t n,
                                                          RunOptions options) noexcept {
  const int* table = reinterpret_cast<const int*>(interpolate.table());
  const int red = options.bgr ? 2 : 0, blue = 2 - red;
  const __m256i mask_r = channel_mask(red), mask_g = channel_mask(1), mask_b = channel_mask(blue);
  const __m256i eight = _mm256_set1_epi32(8), seven_bytes = _mm256_set1_epi8(7);
  // Red-green corner offsets (bytes): the near-blue node there, and 3 bytes
  // on the far-blue one.
  const int rg_corner[4] = {0, 96, 3072, 3168};  // 00, 01 (green), 10 (red), 11
  const char z = -1;
  // Per pixel slot of 4 x 32-bit lanes: R, G, B, 0 -> 12 bytes per lane.
  const __m256i pack = red == 0
                           ? _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z, 0,
                                              1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z)
                           : _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, z, z, z, z, 2,
                                              1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, z, z, z, z);
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8, p += 24) {
    const __m256i bytes = _mm256_set_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8)),
                                           _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    // Grid coordinates of all 24 bytes at once: u = max(v - 7, (v + 1) / 2),
    // which is v - 7 above 13 and (v + 1) / 2 up to it.
    const __m256i u = _mm256_max_epu8(_mm256_subs_epu8(bytes, seven_bytes),
                                      _mm256_avg_epu8(bytes, _mm256_setzero_si256()));
    __m256i off_r, off_g, off_b;
    const __m256i fr = split_grid(_mm256_shuffle_epi8(u, mask_r), &off_r, 11, 10);
    const __m256i fg = split_grid(_mm256_shuffle_epi8(u, mask_g), &off_g, 6, 5);
    const __m256i fb = split_grid(_mm256_shuffle_epi8(u, mask_b), &off_b, 1, -1);
    const __m256i base = _mm256_add_epi32(_mm256_add_epi32(off_r, off_g), off_b);
    const __m256i gr = _mm256_sub_epi32(eight, fr), gg = _mm256_sub_epi32(eight, fg),
                  gb = _mm256_sub_epi32(eight, fb);
    // Blue weights as byte pairs (gb, fb) three times, per pixel slot of 64
    // bits: group A holds pixels 0, 1, 4, 5 and group B 2, 3, 6, 7, the
    // order in which byte unpacking leaves them.
    const __m256i bw = _mm256_or_si256(gb, _mm256_slli_epi32(fb, 8));
    const __m256i bw_lo = _mm256_or_si256(bw, _mm256_slli_epi32(bw, 16));
    const __m256i blue_a = _mm256_unpacklo_epi32(bw_lo, bw),
                  blue_b = _mm256_unpackhi_epi32(bw_lo, bw);
    // Red-green weights as 16-bit pairs: (w00, w01) and (w10, w11).
    const __m256i pair_0 = _mm256_or_si256(_mm256_mullo_epi16(gr, gg),
                                           _mm256_slli_epi32(_mm256_mullo_epi16(gr, fg), 16));
    const __m256i pair_1 = _mm256_or_si256(_mm256_mullo_epi16(fr, gg),
                                           _mm256_slli_epi32(_mm256_mullo_epi16(fr, fg), 16));
    // Blue stage: for each red-green corner, (near x gb + far x fb) per
    // channel, 16-bit, for both pixel groups.
    __m256i corner_a[4], corner_b[4];
    for (int k = 0; k < 4; ++k) {
      const __m256i at = _mm256_add_epi32(base, _mm256_set1_epi32(rg_corner[k]));
      const __m256i near = _mm256_i32gather_epi32(table, at, 1);
      const __m256i far =
          _mm256_i32gather_epi32(table, _mm256_add_epi32(at, _mm256_set1_epi32(3)), 1);
      corner_a[k] = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(near, far), blue_a);
      corner_b[k] = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(near, far), blue_b);
    }
    // Red-green stage: per pixel (a 128-bit slot in each lane), pairs of
    // corners through one multiply-add each; slot order 0|4, 1|5, 2|6, 3|7.
    __m256i sums[4];
    for (int slot = 0; slot < 4; ++slot) {
      const __m256i* c = slot < 2 ? corner_a : corner_b;
      const bool high = slot % 2 == 1;
      // The pixel's weights across its slot (its fourth lane multiplies the
      // zero that the blue stage left there).
      __m256i w0, w1;
      switch (slot) {
        case 0:
          w0 = _mm256_shuffle_epi32(pair_0, 0x00), w1 = _mm256_shuffle_epi32(pair_1, 0x00);
          break;
        case 1:
          w0 = _mm256_shuffle_epi32(pair_0, 0x55), w1 = _mm256_shuffle_epi32(pair_1, 0x55);
          break;
        case 2:
          w0 = _mm256_shuffle_epi32(pair_0, 0xAA), w1 = _mm256_shuffle_epi32(pair_1, 0xAA);
          break;
        default:
          w0 = _mm256_shuffle_epi32(pair_0, 0xFF), w1 = _mm256_shuffle_epi32(pair_1, 0xFF);
          break;
      }
      const __m256i c0 =
          high ? _mm256_unpackhi_epi16(c[0], c[1]) : _mm256_unpacklo_epi16(c[0], c[1]);
      const __m256i c1 =
          high ? _mm256_unpackhi_epi16(c[2], c[3]) : _mm256_unpacklo_epi16(c[2], c[3]);
      const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(c0, w0), _mm256_madd_epi16(c1, w1));
      sums[slot] = _mm256_srli_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(256)), 9);
    }
    // Back to bytes, pixels 0..3 in lane 0 and 4..7 in lane 1, 4 bytes each.
    __m256i rgbx = _mm256_packus_epi16(_mm256_packus_epi32(sums[0], sums[1]),
                                       _mm256_packus_epi32(sums[2], sums[3]));
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
