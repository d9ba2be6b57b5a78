// The AVX2 run kernel: eight pixels at a time. Grid positions and weights are
// computed in vector lanes, the eight corner nodes of each pixel are gathered
// as 32-bit words (R, G, B and one byte more; the table's zero tail keeps the
// last node's read inside it), and each channel's weighted sum is formed
// with 16 x 16 -> 32-bit multiply-adds. Exactly the plain kernel's arithmetic.
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

__attribute__((target("avx2"))) inline __m256i grid_fraction(__m256i v, __m256i* offset,
                                                             int stride_shift_a,
                                                             int stride_shift_b) {
  // u = v - 7 above 13, else (v + 1) >> 1; node = u >> 3, fraction = u & 7.
  const __m256i above = _mm256_cmpgt_epi32(v, _mm256_set1_epi32(13));
  const __m256i u =
      _mm256_blendv_epi8(_mm256_srli_epi32(_mm256_add_epi32(v, _mm256_set1_epi32(1)), 1),
                         _mm256_sub_epi32(v, _mm256_set1_epi32(7)), above);
  const __m256i node = _mm256_srli_epi32(u, 3);
  // node x stride, the stride being a sum of two powers of two.
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
  const __m256i eight = _mm256_set1_epi32(8), byte = _mm256_set1_epi32(0xFF);
  // Corner offsets: blue +3, green +96, red +3072 bytes.
  const int corner[8] = {0, 3, 96, 99, 3072, 3075, 3168, 3171};
  // Shuffles back from one 32-bit word per pixel (R | G << 8 | B << 16 in
  // memory order) to 12 interleaved bytes per lane.
  const char z = -1;
  const __m256i pack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z,  //
                                        0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z);
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8, p += 24) {
    const __m256i bytes = _mm256_set_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8)),
                                           _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    __m256i off_r, off_g, off_b;
    const __m256i fr = grid_fraction(_mm256_shuffle_epi8(bytes, mask_r), &off_r, 11, 10);
    const __m256i fg = grid_fraction(_mm256_shuffle_epi8(bytes, mask_g), &off_g, 6, 5);
    const __m256i fb = grid_fraction(_mm256_shuffle_epi8(bytes, mask_b), &off_b, 1, -1);
    const __m256i base = _mm256_add_epi32(_mm256_add_epi32(off_r, off_g), off_b);
    const __m256i gr = _mm256_sub_epi32(eight, fr), gg = _mm256_sub_epi32(eight, fg),
                  gb = _mm256_sub_epi32(eight, fb);
    const __m256i w00 = _mm256_mullo_epi16(gr, gg), w01 = _mm256_mullo_epi16(gr, fg),
                  w10 = _mm256_mullo_epi16(fr, gg), w11 = _mm256_mullo_epi16(fr, fg);
    const __m256i weight[8] = {_mm256_mullo_epi16(w00, gb), _mm256_mullo_epi16(w00, fb),
                               _mm256_mullo_epi16(w01, gb), _mm256_mullo_epi16(w01, fb),
                               _mm256_mullo_epi16(w10, gb), _mm256_mullo_epi16(w10, fb),
                               _mm256_mullo_epi16(w11, gb), _mm256_mullo_epi16(w11, fb)};
    __m256i sum_r = _mm256_set1_epi32(256), sum_g = sum_r, sum_b = sum_r;
    for (int k = 0; k < 8; ++k) {
      const __m256i node =
          _mm256_i32gather_epi32(table, _mm256_add_epi32(base, _mm256_set1_epi32(corner[k])), 1);
      sum_r = _mm256_add_epi32(sum_r, _mm256_madd_epi16(_mm256_and_si256(node, byte), weight[k]));
      sum_g = _mm256_add_epi32(
          sum_g, _mm256_madd_epi16(_mm256_and_si256(_mm256_srli_epi32(node, 8), byte), weight[k]));
      sum_b = _mm256_add_epi32(
          sum_b, _mm256_madd_epi16(_mm256_and_si256(_mm256_srli_epi32(node, 16), byte), weight[k]));
    }
    // The weights sum to 512 and nodes are bytes: no result leaves 0..255.
    __m256i r = _mm256_srli_epi32(sum_r, 9), g = _mm256_srli_epi32(sum_g, 9),
            b = _mm256_srli_epi32(sum_b, 9);
    if (options.guard) {
      const __m256i top = _mm256_set1_epi32(255), limit = _mm256_set1_epi32(254);
      const __m256i white =
          _mm256_and_si256(_mm256_and_si256(_mm256_cmpeq_epi32(r, top), _mm256_cmpeq_epi32(g, top)),
                           _mm256_cmpeq_epi32(b, top));
      r = _mm256_blendv_epi8(_mm256_min_epi32(r, limit), r, white);
      g = _mm256_blendv_epi8(_mm256_min_epi32(g, limit), g, white);
      b = _mm256_blendv_epi8(_mm256_min_epi32(b, limit), b, white);
    }
    const __m256i first = red == 0 ? r : b, third = red == 0 ? b : r;
    const __m256i words = _mm256_or_si256(_mm256_or_si256(first, _mm256_slli_epi32(g, 8)),
                                          _mm256_slli_epi32(third, 16));
    const __m256i packed = _mm256_shuffle_epi8(words, pack);
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
