// Converting a run of consecutive 3-byte pixels in place through a 3-D table:
// the pixel passes' inner loop. A plain kernel and an AVX2 one give the same
// bytes; platform/kernel_choice.h picks one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "colour/interpolate3d.h"

namespace zkimgset::colour {

struct RunOptions {
  bool bgr = false;    // pixels are B, G, R
  bool guard = false;  // pure white only when all three outputs reach 255, else at most 254
};

// Converts n pixels at p through `interpolate`'s table.
void interpolate_run(const Interpolator& interpolate, std::uint8_t* p, std::size_t n,
                     RunOptions options) noexcept;

// The plain kernel, always available.
void interpolate_run_plain(const Interpolator& interpolate, std::uint8_t* p, std::size_t n,
                           RunOptions options) noexcept;

#if defined(__x86_64__) || defined(__i386__)
void interpolate_run_avx2(const Interpolator& interpolate, std::uint8_t* p, std::size_t n,
                          RunOptions options) noexcept;
#endif

}  // namespace zkimgset::colour
