// A caller's 24-bit picture in either of the two layouts the library takes:
// packed R, G, B rows top first, or bitmap rows of B, G, R padded to 4 bytes
// and stored bottom first. Rows and columns here are memory rows and
// columns: for the bitmap layout, memory row 0 is the picture's bottom row.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zkimgset::geometry {

enum class Layout { PackedRgb, BitmapBgr };

// The row length of a picture `width` pixels wide, in bytes: 3 a pixel,
// padded to a multiple of 4 in the bitmap layout. The library's one way of
// reckoning it, in whatever integer type the caller counts in; a negative
// width (a row walked backwards) is rounded up alike, toward zero.
template <class Int>
constexpr Int row_bytes(Int width, Layout layout) noexcept {
  const Int packed = 3 * width;
  return layout == Layout::BitmapBgr ? (packed + 3) & ~Int{3} : packed;
}

struct Picture {
  const std::uint8_t* pixels;
  int width;
  int height;
  Layout layout;

  std::size_t row_bytes() const {
    return geometry::row_bytes(static_cast<std::size_t>(width), layout);
  }
  std::size_t size() const { return row_bytes() * static_cast<std::size_t>(height); }
  // Byte offsets of red, green and blue within a pixel.
  int red() const { return layout == Layout::PackedRgb ? 0 : 2; }
  int blue() const { return layout == Layout::PackedRgb ? 2 : 0; }
};

}  // namespace zkimgset::geometry
