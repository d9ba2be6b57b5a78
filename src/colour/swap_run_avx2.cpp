// The AVX2 swap kernel: eight pixels (24 bytes) a step, read whole before any
// byte of them is written, so that dst may be src or lie below it.
#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#include "colour/swap_run.h"

namespace zkimgset::colour {

__attribute__((target("avx2"))) void swap_run_avx2(std::uint8_t* dst, const std::uint8_t* src,
                                                   std::size_t n) noexcept {
  // Lane 0 holds pixels 0..3 at bytes 0..11, lane 1 pixels 4..7 at 4..15;
  // both leave their 12 swapped bytes at 0..11.
  const char z = -1;
  const __m256i shuffle = _mm256_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, z, z, z, z,  //
                                           6, 5, 4, 9, 8, 7, 12, 11, 10, 15, 14, 13, z, z, z, z);
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8, src += 24, dst += 24) {
    const __m256i bytes =
        _mm256_set_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 8)),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(src)));
    const __m256i swapped = _mm256_shuffle_epi8(bytes, shuffle);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(swapped));
    const __m128i high = _mm256_extracti128_si256(swapped, 1);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 12), high);
    const int last = _mm_extract_epi32(high, 2);
    __builtin_memcpy(dst + 20, &last, 4);
  }
  swap_run_plain(dst, src, n - i);
}

}  // namespace zkimgset::colour
#endif
