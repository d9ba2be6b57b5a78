// The planar YCbCr pass's twins: the plain one, pixel by pixel in single
// precision as the pass has always computed, and the AVX2 one, eight pixels
// at a time with the same single-precision operations in the same order
// and the same integer interpolation, so that its bytes are the plain one's.
#pragma once

#include <cstdint>

#include "zkimgset/zkimgset.h"

namespace zkimgset::setup {

// One plane's value of the set-up table read as three 33 x 33 x 33 planes.
int planar_interpolate(const std::uint8_t* table, int plane, int r, int g, int b) noexcept;

// The planes' walk: a w x h picture (the bounds' size) over planes whose
// descriptor has been checked.
struct PlanarJob {
  const std::uint8_t* table;
  const ZKImgSetPlanarYCbCr& planes;
  std::int64_t width, height;
};

// Where the walk is: the next Y byte, and the next chroma sample to write.
struct PlanarCursor {
  std::uint32_t yi = 0, ci = 0;
};

// Converts the pixel at Y byte yi, its chroma read at ci (at the planes'
// last sample once ci has passed it); when `writes` and ci is inside the
// planes, writes the chroma there and advances ci. Then advances yi.
void planar_pixel(const PlanarJob& job, bool writes, PlanarCursor& at) noexcept;

// The walk over every row: the plain twin, a planar_pixel a pixel.
void planar_rows_plain(const PlanarJob& job) noexcept;

#if defined(__x86_64__) || defined(__i386__)
// False, having changed nothing, when its work table cannot be had.
bool planar_rows_avx2(const PlanarJob& job) noexcept;
#endif

}  // namespace zkimgset::setup
