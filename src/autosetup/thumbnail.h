// The 128 x 92 analysis thumbnail, always landscape.
#pragma once

#include "geometry/picture.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset::autosetup {

// The sampling step of an area: how many picture pixels one thumbnail pixel
// stands for. 0 for an area smaller than the thumbnail.
int thumbnail_step(const tagRECT& area) noexcept;

// Fills planes 0 (neighbourhood luminance yy) and 1..3 (red, green, blue of
// the neighbourhood's centre) from the area of the picture. Portrait areas
// are turned a quarter turn.
void make_thumbnail(const geometry::Picture& picture, const tagRECT& area,
                    _ThumbnailData& thumb) noexcept;

}  // namespace zkimgset::autosetup
