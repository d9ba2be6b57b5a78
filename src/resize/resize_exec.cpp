// ResizeExec: reads the source size from its bitmap header, resizes the cut,
// and writes the result header (the source's, with the result's size) and
// the result's bottom-up padded rows. The result is never larger than asked
// for, so a buffer sized for the request always holds it.
#include "resize/resize_exec.h"

#include <cstring>

#include "resize/resize.h"

namespace zkimgset::resize {

int resize_exec(const ZKImgSetBitmapInfoHeader* src_header, const std::uint8_t* src_pixels,
                ZKImgSetBitmapInfoHeader* dst_header, std::uint8_t* dst_pixels, int new_width,
                int new_height) {
  if (src_header == nullptr || src_pixels == nullptr || dst_header == nullptr ||
      dst_pixels == nullptr)
    return ZKIMGSET_BAD_ARGUMENT;
  const int width = src_header->biWidth, height = src_header->biHeight;
  if (width <= 0 || height <= 0 || new_width <= 0 || new_height <= 0) return ZKIMGSET_BAD_ARGUMENT;
  const Cut cut = cut_rectangle(width, height, new_width, new_height);
  const Image result = resize_cut(src_pixels, width, height, cut, new_width, new_height);

  ZKImgSetBitmapInfoHeader header;
  std::memcpy(&header, src_header, sizeof header);
  header.biWidth = result.width;
  header.biHeight = result.height;
  std::memcpy(dst_header, &header, sizeof header);
  const std::size_t stride = bitmap_stride(result.width);
  for (int y = 0; y < result.height; ++y) {
    std::uint8_t* row = dst_pixels + stride * std::size_t(result.height - 1 - y);
    std::memcpy(row, &result.rgb[3 * std::size_t(y) * std::size_t(result.width)],
                3 * std::size_t(result.width));
  }
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::resize
