// Proportional resizing of 24-bit bottom-up bitmaps: a centred cut that keeps
// the target's proportions (the public header's zkimgset_resize_plan), then
// one of four integer kernels chosen by the scale.
#pragma once

#include <cstddef>
#include <cstdint>

#include "zkimgset/zkimgset.h"

namespace zkimgset::resize {

// The most work memory a resize may take, in bytes (a whole intermediate
// image and the kernel's tables); more than any buffer can hold when it
// does not fit in 63 bits.
std::uint64_t work_bytes(const ZKImgSetResizePlan& plan, int new_width) noexcept;

// Resizes the plan's cut of a source bitmap (src_width x src_height) into
// result, a bottom-up bitmap of the plan's result size whose row padding
// is left as it was. 0, or ZKIMGSET_OUT_OF_MEMORY when a work buffer cannot
// be had; nothing is thrown.
int resize_into(const std::uint8_t* source, int src_width, int src_height,
                const ZKImgSetResizePlan& plan, int new_width, std::uint8_t* result) noexcept;

}  // namespace zkimgset::resize
