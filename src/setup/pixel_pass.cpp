// The packed pixel pass. It applies the white guard only in the colour
// conversion modes 0 and 2 (pure white out only when all three outputs
// reach 255, otherwise at most 254). The planar pass is in planar_pass.cpp.
#include "setup/pixel_pass.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "colour/interpolate_run.h"
#include "colour/run_table.h"

namespace zkimgset::setup {

namespace {

// The walk of a packed pass in bytes from the picture's first byte, in
// 64 bits: the bounds' width is the row length (a negative one walks back),
// and after each row the pointer skips the rest of it as if pixels were 3
// bytes wide.
struct PassWalk {
  std::int64_t w, h, step, start, row_advance, row_skip;
};

PassWalk walk_of(int bits_per_pixel, geometry::Layout layout, const tagRECT& area,
                 const tagRECT& bounds) {
  const std::int64_t row_pixels = std::int64_t{bounds.right} - bounds.left + 1;
  const std::int64_t w = std::int64_t{area.right} - area.left + 1;
  const std::int64_t h = std::int64_t{area.bottom} - area.top + 1;
  const std::int64_t step = bits_per_pixel / 8;
  const std::int64_t row = geometry::row_bytes(row_pixels, layout);
  const std::int64_t row_skip = row - 3 * w;
  // Each factor is below 2^35, so these sums and products fit; the start
  // may not (a top row near 2^31 of rows near 2^32 pixels) and is checked.
  std::int64_t start = 0;
  if (__builtin_mul_overflow(row, std::int64_t{area.top}, &start) ||
      __builtin_add_overflow(start, 3 * std::int64_t{area.left}, &start))
    start = std::numeric_limits<std::int64_t>::min();
  return {w, h, step, start, step * w + row_skip, row_skip};
}

}  // namespace

Reach pass_reach(const std::uint8_t* pixels, int bits_per_pixel, geometry::Layout layout,
                 const tagRECT& area, const tagRECT& bounds) noexcept {
  const PassWalk walk = walk_of(bits_per_pixel, layout, area, bounds);
  if (walk.w < 1 || walk.h < 1) return Reach::Empty;
  if (walk.start == std::numeric_limits<std::int64_t>::min()) return Reach::Outside;
  std::int64_t last_row = 0;
  if (__builtin_mul_overflow(walk.h - 1, walk.row_advance, &last_row) ||
      __builtin_add_overflow(last_row, walk.start, &last_row))
    return Reach::Outside;
  const std::int64_t first = std::min(walk.start, last_row);
  std::int64_t last = 0;
  if (__builtin_add_overflow(std::max(walk.start, last_row), walk.step * (walk.w - 1) + 2, &last))
    return Reach::Outside;
  // Before the picture's first byte, or past the end of the address space.
  const auto room =
      std::numeric_limits<std::uintptr_t>::max() - reinterpret_cast<std::uintptr_t>(pixels);
  if (first < 0 || static_cast<std::uint64_t>(last) > room ||
      static_cast<std::uint64_t>(last) > std::uint64_t{PTRDIFF_MAX})
    return Reach::Outside;
  return Reach::Inside;
}

int pixel_pass(LibraryState& state, std::uint8_t* pixels, int bits_per_pixel,
               geometry::Layout layout, const tagRECT& area, const tagRECT& bounds) noexcept {
  const PassWalk walk = walk_of(bits_per_pixel, layout, area, bounds);
  if (walk.w < 1 || walk.h < 1) return ZKIMGSET_OK;
  const colour::RunOptions options{layout == geometry::Layout::BitmapBgr,
                                   state.ColorConvMode == 0 || state.ColorConvMode == 2};
  const colour::Interpolator interpolate(state.ColorTable3dMain);
  std::int64_t pixels_in_area = 0;
  if (__builtin_mul_overflow(walk.w, walk.h, &pixels_in_area))
    pixels_in_area = std::numeric_limits<std::int64_t>::max();
  const auto work =
      walk.step == 3 ? colour::run_table_for(state.ColorTable3dMain, pixels_in_area) : nullptr;
  std::uint8_t* p = pixels + walk.start;
  for (std::int64_t y = 0; y < walk.h; ++y, p += walk.row_skip) {
    if (walk.step == 3) {
      colour::interpolate_run(interpolate, work.get(), p, static_cast<std::size_t>(walk.w),
                              options);
      p += 3 * walk.w;
      continue;
    }
    for (std::int64_t x = 0; x < walk.w; ++x, p += walk.step)
      colour::interpolate_run_plain(interpolate, p, 1, options);
  }
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::setup
