// The analysis area: the picture without its pure white margins.
#pragma once

#include "autosetup/picture.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset::autosetup {

// The bounding box (inclusive, memory rows and columns) of the pixels that
// are not pure white (255, 255, 255); the whole picture when every pixel is
// white. Row padding is never looked at.
tagRECT find_analysis_area(const Picture& picture) noexcept;

}  // namespace zkimgset::autosetup
