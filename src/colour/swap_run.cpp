// The plain swap kernel and the choice of kernel (platform/kernel_choice.h).
#include "colour/swap_run.h"

#include "platform/kernel_choice.h"

namespace zkimgset::colour {

void swap_run_plain(std::uint8_t* dst, const std::uint8_t* src, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i, src += 3, dst += 3) {
    const std::uint8_t a = src[0], b = src[1], c = src[2];
    dst[0] = c;
    dst[1] = b;
    dst[2] = a;
  }
}

void swap_run(std::uint8_t* dst, const std::uint8_t* src, std::size_t n) noexcept {
#if defined(__x86_64__) || defined(__i386__)
  if (platform::vector_kernels()) return swap_run_avx2(dst, src, n);
#endif
  swap_run_plain(dst, src, n);
}

}  // namespace zkimgset::colour
