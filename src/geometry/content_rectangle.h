// The content rectangle: the picture without its pure white margins, which
// the analysis reads and which the conversions and the drivers change.
#pragma once

#include "geometry/picture.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset::geometry {

// The bounding box (inclusive, memory rows and columns) of the pixels that
// are not pure white (255, 255, 255); the whole picture when every pixel is
// white. Row padding is never looked at.
tagRECT content_rectangle(const Picture& picture) noexcept;

}  // namespace zkimgset::geometry
