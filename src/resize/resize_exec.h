// The ResizeExec entry point over bitmap headers and pixel buffers.
#pragma once

#include <cstdint>

#include "zkimgset/zkimgset.h"

namespace zkimgset::resize {

// 0; 2 for a null pointer or a size below 1; 3 when a work buffer cannot be
// had or a picture is larger than any buffer. Never throws.
int resize_exec(const ZKImgSetBitmapInfoHeader* src_header, const std::uint8_t* src_pixels,
                ZKImgSetBitmapInfoHeader* dst_header, std::uint8_t* dst_pixels, int new_width,
                int new_height) noexcept;

}  // namespace zkimgset::resize
