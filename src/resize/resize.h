// Proportional resizing of 24-bit bottom-up bitmaps: a centred cut that keeps
// the target's proportions, then one of four integer kernels chosen by the
// scale.
#pragma once

#include <cstdint>
#include <vector>

namespace zkimgset::resize {

// The cut of the source that keeps the target's proportions.
struct Cut {
  int left, top, width, height;
};
Cut cut_rectangle(int src_width, int src_height, int new_width, int new_height) noexcept;

// 1 enlarge or keep, 2 mild reduction, 3 from a half to a third, 4 below.
int kernel_for(int new_width, int cut_width) noexcept;

// A packed, top-down 24-bit image (no row padding).
struct Image {
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgb;
};

// The cut of a bottom-up padded bitmap, resized; the result may be one
// smaller than asked for (kernels 3 and 4).
Image resize_cut(const std::uint8_t* bitmap, int src_width, int src_height, const Cut& cut,
                 int new_width, int new_height);

// Row length of a bottom-up 24-bit bitmap.
inline std::size_t bitmap_stride(int width) {
  return ((static_cast<std::size_t>(width) * 24 + 31) & ~std::size_t{31}) / 8;
}

}  // namespace zkimgset::resize
