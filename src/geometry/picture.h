// A caller's 24-bit picture in either of the two layouts the library takes:
// packed R, G, B rows top first, or bitmap rows of B, G, R padded to 4 bytes
// and stored bottom first. Rows and columns here are memory rows and
// columns: for the bitmap layout, memory row 0 is the picture's bottom row.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zkimgset::geometry {

enum class Layout { PackedRgb, BitmapBgr };

struct Picture {
  const std::uint8_t* pixels;
  int width;
  int height;
  Layout layout;

  std::size_t stride() const {
    const std::size_t row = 3 * static_cast<std::size_t>(width);
    return layout == Layout::PackedRgb ? row : (row + 3) & ~std::size_t{3};
  }
  std::size_t size() const { return stride() * static_cast<std::size_t>(height); }
  // Byte offsets of red, green and blue within a pixel.
  int red() const { return layout == Layout::PackedRgb ? 0 : 2; }
  int blue() const { return layout == Layout::PackedRgb ? 2 : 0; }
};

}  // namespace zkimgset::geometry
