// The plain run kernel and the choice between it and the vector one.
#include "colour/interpolate_run.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace zkimgset::colour {
namespace {

using Kernel = void (*)(const Interpolator&, std::uint8_t*, std::size_t, RunOptions) noexcept;

// ZKIMGSET_PLAIN_KERNELS=1 in the environment keeps the plain kernels, so
// that the whole test suite can run on each.
Kernel best_kernel() {
  const char* plain = std::getenv("ZKIMGSET_PLAIN_KERNELS");
  if (plain != nullptr && plain[0] == '1') return &interpolate_run_plain;
#if defined(__x86_64__) || defined(__i386__)
  if (__builtin_cpu_supports("avx2")) return &interpolate_run_avx2;
#endif
  return &interpolate_run_plain;
}

std::atomic<Kernel>& kernel() {
  static std::atomic<Kernel> chosen{best_kernel()};
  return chosen;
}

}  // namespace

void interpolate_run_plain(const Interpolator& interpolate, std::uint8_t* p, std::size_t n,
                           RunOptions options) noexcept {
  const int red = options.bgr ? 2 : 0, blue = 2 - red;
  for (std::size_t i = 0; i < n; ++i, p += 3) {
    Rgb8 out = interpolate(p[red], p[1], p[blue]);
    if (options.guard && !(out.r == 255 && out.g == 255 && out.b == 255)) {
      out.r = std::min<std::uint8_t>(out.r, 254);
      out.g = std::min<std::uint8_t>(out.g, 254);
      out.b = std::min<std::uint8_t>(out.b, 254);
    }
    p[red] = out.r;
    p[1] = out.g;
    p[blue] = out.b;
  }
}

void interpolate_run(const Interpolator& interpolate, std::uint8_t* p, std::size_t n,
                     RunOptions options) noexcept {
  kernel().load(std::memory_order_relaxed)(interpolate, p, n, options);
}

bool force_plain_kernels(bool plain) noexcept {
  kernel().store(plain ? &interpolate_run_plain : best_kernel());
  return kernel().load() != &interpolate_run_plain;
}

}  // namespace zkimgset::colour
