// The pixel passes. The packed pass applies the white guard only in the
// colour conversion modes 0 and 2 (pure white out only when all three
// outputs reach 255, otherwise at most 254). The planar pass keeps its
// chroma walk on purpose: the chroma positions advance only where a sample
// is written, so a pixel off the sampling grid reads the sample after the
// one written last. Its reads and writes stay within the byte counts the
// caller gives for each plane.
#include "setup/pixel_pass.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "colour/interpolate3d.h"
#include "colour/interpolate_run.h"

namespace zkimgset::setup {
namespace {

constexpr int kPlaneBytes = 33 * 33 * 33;

std::uint8_t level(float v) { return static_cast<std::uint8_t>(std::clamp(v, 0.0f, 255.0f)); }

// An RGB level from planar YCbCr: truncated, below 1 made 0, 255 and above
// made 255.
int to_level(float v) {
  const int t = static_cast<int>(std::clamp(v, -1.0f, 256.0f));
  return t < 1 ? 0 : t >= 255 ? 255 : t;
}

}  // namespace

namespace {

// The walk of a packed pass in bytes from the picture's first byte, in
// 64 bits: the bounds' width is the row length (a negative one walks back),
// and after each row the pointer skips the rest of it as if pixels were 3
// bytes wide.
struct PassWalk {
  std::int64_t w, h, step, start, row_advance, row_skip;
};

PassWalk walk_of(int bits_per_pixel, autosetup::Layout layout, const tagRECT& area,
                 const tagRECT& bounds) {
  const std::int64_t row_pixels = std::int64_t{bounds.right} - bounds.left + 1;
  const std::int64_t w = std::int64_t{area.right} - area.left + 1;
  const std::int64_t h = std::int64_t{area.bottom} - area.top + 1;
  const std::int64_t step = bits_per_pixel / 8;
  const std::int64_t pad =
      layout == autosetup::Layout::BitmapBgr ? (4 - 3 * row_pixels % 4) % 4 : 0;
  const std::int64_t row_skip = 3 * (row_pixels - w) + pad;
  // Each factor is below 2^35, so these sums and products fit; the start
  // may not (a top row near 2^31 of rows near 2^32 pixels) and is checked.
  std::int64_t start = 0;
  if (__builtin_mul_overflow(3 * row_pixels + pad, std::int64_t{area.top}, &start) ||
      __builtin_add_overflow(start, 3 * std::int64_t{area.left}, &start))
    start = std::numeric_limits<std::int64_t>::min();
  return {w, h, step, start, step * w + row_skip, row_skip};
}

}  // namespace

Reach pass_reach(const std::uint8_t* pixels, int bits_per_pixel, autosetup::Layout layout,
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
               autosetup::Layout layout, const tagRECT& area, const tagRECT& bounds) noexcept {
  const PassWalk walk = walk_of(bits_per_pixel, layout, area, bounds);
  if (walk.w < 1 || walk.h < 1) return ZKIMGSET_OK;
  const colour::RunOptions options{layout == autosetup::Layout::BitmapBgr,
                                   state.ColorConvMode == 0 || state.ColorConvMode == 2};
  const colour::Interpolator interpolate(state.ColorTable3dMain);
  std::uint8_t* p = pixels + walk.start;
  for (std::int64_t y = 0; y < walk.h; ++y, p += walk.row_skip) {
    if (walk.step == 3) {
      colour::interpolate_run(interpolate, p, static_cast<std::size_t>(walk.w), options);
      p += 3 * walk.w;
      continue;
    }
    for (std::int64_t x = 0; x < walk.w; ++x, p += walk.step)
      colour::interpolate_run_plain(interpolate, p, 1, options);
  }
  return ZKIMGSET_OK;
}

int planar_interpolate(const std::uint8_t* table, int plane, int r, int g, int b) noexcept {
  const std::uint8_t* p = table + plane * kPlaneBytes;
  const int v[3] = {r, g, b};
  int n[3], f[3], s[3];
  for (int c = 0; c < 3; ++c) {
    n[c] = v[c] >> 3;
    f[c] = v[c] & 7;
    s[c] = n[c] == 31 ? 7 : 8;  // the last cell ends at node 32, which stands for 255
  }
  long sum = 0;
  for (int corner = 0; corner < 8; ++corner) {
    const int di = corner >> 2 & 1, dj = corner >> 1 & 1, dk = corner & 1;
    const long weight =
        long{di ? f[0] : s[0] - f[0]} * (dj ? f[1] : s[1] - f[1]) * (dk ? f[2] : s[2] - f[2]);
    sum += weight * p[(n[0] + di) * 1089 + (n[1] + dj) * 33 + (n[2] + dk)];
  }
  const long volume = long{s[0]} * s[1] * s[2];
  return volume == 512 ? static_cast<int>((sum + 256) >> 9)
                       : static_cast<int>((sum + volume / 2) / volume);
}

int ycbcr_pass(LibraryState& state, const ZKImgSetPlanarYCbCr& d, const tagRECT& bounds) noexcept {
  constexpr std::uint32_t kMaxBytes = 0x7FFFFFFF;
  if (d.y == nullptr || d.cb == nullptr || d.cr == nullptr) return ZKIMGSET_BAD_PLANAR;
  for (std::uint32_t bytes : {d.y_bytes, d.cb_bytes, d.cr_bytes})
    if (bytes == 0 || bytes > kMaxBytes) return ZKIMGSET_BAD_PLANAR;
  for (std::int16_t factor : {d.h_factor, d.v_factor})
    if (factor != 1 && factor != 2) return ZKIMGSET_BAD_PLANAR;

  const std::uint8_t* table = state.ColorTable3dMain;
  const std::int64_t w = std::int64_t{bounds.right} - bounds.left + 1;
  const std::int64_t h = std::int64_t{bounds.bottom} - bounds.top + 1;
  const std::uint32_t chroma_bytes = std::min(d.cb_bytes, d.cr_bytes);
  std::uint32_t yi = 0, ci = 0;
  // The walk ends with the Y plane, however large the bounds.
  for (std::int64_t y = 0; y < h && yi < d.y_bytes; ++y) {
    for (std::int64_t x = 0; x < w && yi < d.y_bytes; ++x, ++yi) {
      const std::uint32_t at = std::min(ci, chroma_bytes - 1);
      const float luma = d.y[yi], cb = d.cb[at] - 128.0f, cr = d.cr[at] - 128.0f;
      const int r = to_level(luma + 1.402f * cr + 0.5f);
      const int g = to_level(luma - 0.34414f * cb - 0.71414f * cr);
      const int b = to_level(luma + 1.772f * cb + 0.5f);
      const int r2 = planar_interpolate(table, 0, r, g, b);
      const int g2 = planar_interpolate(table, 1, r, g, b);
      const int b2 = planar_interpolate(table, 2, r, g, b);
      d.y[yi] = level(0.299f * r2 + 0.587f * g2 + 0.114f * b2 + 0.5f);
      if (y % d.v_factor == 0 && x % d.h_factor == 0 && ci < chroma_bytes) {
        d.cb[ci] = level(-0.1687f * r2 - 0.3313f * g2 + 0.5f * b2 + 128.0f);
        d.cr[ci] = level(0.5f * r2 - 0.4187f * g2 - 0.0813f * b2 + 128.0f);
        ++ci;
      }
    }
  }
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::setup
