// The plain swap kernel and the choice of kernel (ZKIMGSET_PLAIN_KERNELS=1
// keeps the plain one, as for the interpolation).
#include "colour/swap_run.h"

#include <cstdlib>

namespace zkimgset::colour {
namespace {

using Kernel = void (*)(std::uint8_t*, const std::uint8_t*, std::size_t) noexcept;

Kernel choose() {
  const char* plain = std::getenv("ZKIMGSET_PLAIN_KERNELS");
  if (plain != nullptr && plain[0] == '1') return &swap_run_plain;
#if defined(__x86_64__) || defined(__i386__)
  if (__builtin_cpu_supports("avx2")) return &swap_run_avx2;
#endif
  return &swap_run_plain;
}

}  // namespace

void swap_run_plain(std::uint8_t* dst, const std::uint8_t* src, std::size_t n) noexcept {
  for (std::size_t i = 0; i < n; ++i, src += 3, dst += 3) {
    const std::uint8_t a = src[0], b = src[1], c = src[2];
    dst[0] = c;
    dst[1] = b;
    dst[2] = a;
  }
}

void swap_run(std::uint8_t* dst, const std::uint8_t* src, std::size_t n) noexcept {
  static const Kernel kernel = choose();
  kernel(dst, src, n);
}

}  // namespace zkimgset::colour
