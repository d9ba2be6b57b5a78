// The plain run kernel and the choice between it and the vector one.
#include "colour/interpolate_run.h"

#include <algorithm>

#include "platform/kernel_choice.h"

namespace zkimgset::colour {

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
#if defined(__x86_64__) || defined(__i386__)
  if (platform::vector_kernels()) return interpolate_run_avx2(interpolate, p, n, options);
#endif
  interpolate_run_plain(interpolate, p, n, options);
}

}  // namespace zkimgset::colour
