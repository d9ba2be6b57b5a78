// ResizeExec: reads the source size from its bitmap header, plans the
// request, resizes the cut into the caller's buffer, and writes the result
// header (the source's, with the result's size). A source or result that
// no address space can hold is refused before any work.
#include "resize/resize_exec.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "resize/resize.h"

namespace zkimgset::resize {

int resize_exec(const ZKImgSetBitmapInfoHeader* src_header, const std::uint8_t* src_pixels,
                ZKImgSetBitmapInfoHeader* dst_header, std::uint8_t* dst_pixels, int new_width,
                int new_height) noexcept {
  if (src_header == nullptr || src_pixels == nullptr || dst_header == nullptr ||
      dst_pixels == nullptr)
    return ZKIMGSET_BAD_ARGUMENT;
  const int width = src_header->biWidth, height = src_header->biHeight;
  ZKImgSetResizePlan plan;
  if (zkimgset_resize_plan(width, height, new_width, new_height, &plan) != ZKIMGSET_OK)
    return ZKIMGSET_BAD_ARGUMENT;
  constexpr std::uint64_t kAddressable = PTRDIFF_MAX;
  if (zkimgset_bitmap_bytes(width, height) > kAddressable ||
      zkimgset_bitmap_bytes(plan.result_width, plan.result_height) > kAddressable)
    return ZKIMGSET_OUT_OF_MEMORY;
  if (const int status = resize_into(src_pixels, width, height, plan, new_width, dst_pixels))
    return status;

  ZKImgSetBitmapInfoHeader header;
  std::memcpy(&header, src_header, sizeof header);
  header.biWidth = plan.result_width;
  header.biHeight = plan.result_height;
  std::memcpy(dst_header, &header, sizeof header);
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::resize
