// BgrRgbConversion and RgbBgrConversion: between bottom-up bitmap rows
// (B, G, R, padded to 4 bytes) and top-down packed R, G, B rows, in place.
// The row length and its padding are 16-bit unsigned quantities, so widths
// above 21845 wrap; that limit is part of the format. Pictures of ordinary
// widths are reordered in place with one row of scratch (a picture-sized
// temporary costs more in fresh pages than the reordering itself); the
// wrapping widths go through a temporary exactly as the format describes.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "colour/conversions.h"
#include "colour/swap_run.h"
#include "geometry/picture.h"

namespace zkimgset::colour {
namespace {

// 3 x 21844 and its padding still fit 16 bits; 21845's padded row (65536)
// wraps to 0.
constexpr int kWidestUnwrapped = 21844;

struct Rows {
  std::uint16_t packed, padded;
};

// The row lengths of a positive width, cut to 16 bits as the format keeps
// them.
Rows rows_of(int width) {
  const auto w = static_cast<std::size_t>(width);
  return {static_cast<std::uint16_t>(geometry::row_bytes(w, geometry::Layout::PackedRgb)),
          static_cast<std::uint16_t>(geometry::row_bytes(w, geometry::Layout::BitmapBgr))};
}

void copy_swapped(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) {
  swap_run(dst, src, pixels);
}

// Swaps rows in place, with no scratch that could fail to be had.
void reverse_rows(std::uint8_t* pixels, std::size_t row, int height) {
  for (int top = 0, bottom = height - 1; top < bottom; ++top, --bottom) {
    std::uint8_t* a = pixels + row * std::size_t(top);
    std::swap_ranges(a, a + row, pixels + row * std::size_t(bottom));
  }
}

// The format's own way, through a picture-sized temporary. When there is no
// memory for it the picture is left as it is (the exports report nothing).
// A wrapped padded row can be shorter than the packed row written into it
// (21845 pixels: 65535 bytes into a row of 0), so the temporary holds every
// row written, whatever is copied back.
void reorder_through_temporary(std::uint8_t* pixels, int height, Rows from, Rows to,
                               std::size_t copied) {
  const std::size_t written =
      std::max(copied, std::size_t(to.padded) * std::size_t(height - 1) + from.packed);
  const std::unique_ptr<std::uint8_t[]> out(new (std::nothrow) std::uint8_t[written]());
  if (!out) return;
  for (int y = 0; y < height; ++y)
    copy_swapped(out.get() + std::size_t(to.padded) * std::size_t(y),
                 pixels + std::size_t(from.padded) * std::size_t(height - 1 - y), from.packed / 3);
  std::memcpy(pixels, out.get(), copied);
}

}  // namespace

void bitmap_to_packed(std::uint8_t* pixels, int width, int height) {
  if (pixels == nullptr || width <= 0 || height <= 0) return;
  const Rows rows = rows_of(width);
  if (width > kWidestUnwrapped) {
    const std::size_t size = std::size_t(width) * 3 * std::size_t(height);
    reorder_through_temporary(pixels, height, rows, {rows.packed, rows.packed}, size);
    return;
  }
  // Swap and close up the rows (each moves down, never onto one not yet
  // read), then turn the row order over.
  for (int y = 0; y < height; ++y)
    copy_swapped(pixels + std::size_t(rows.packed) * std::size_t(y),
                 pixels + std::size_t(rows.padded) * std::size_t(y), std::size_t(width));
  reverse_rows(pixels, rows.packed, height);
}

void packed_to_bitmap(std::uint8_t* pixels, int width, int height) {
  if (pixels == nullptr || width <= 0 || height <= 0) return;
  const Rows rows = rows_of(width);
  if (width > kWidestUnwrapped) {
    const std::size_t size = std::size_t(rows.padded) * std::size_t(height);
    reorder_through_temporary(pixels, height, {rows.packed, rows.packed}, rows, size);
    return;
  }
  // Turn the row order over, then swap and spread the rows out to their
  // padded places from the last down (each moves up, never onto one not yet
  // read), clearing the padding.
  reverse_rows(pixels, rows.packed, height);
  std::uint8_t row[3 * kWidestUnwrapped];
  for (int y = height - 1; y >= 0; --y) {
    copy_swapped(row, pixels + std::size_t(rows.packed) * std::size_t(y), std::size_t(width));
    std::uint8_t* dst = pixels + std::size_t(rows.padded) * std::size_t(y);
    std::memcpy(dst, row, rows.packed);
    std::memset(dst + rows.packed, 0, std::size_t(rows.padded - rows.packed));
  }
}

}  // namespace zkimgset::colour
