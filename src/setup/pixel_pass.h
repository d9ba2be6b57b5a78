// The pixel pass every set-up path ends in: each pixel of an area through the
// set-up colour table, in place; and its twin for planar YCbCr data.
#pragma once

#include <cstdint>

#include "frame/library_state.h"
#include "geometry/picture.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset::setup {

// Where a packed pass over the area would go: nowhere (an empty area), only
// to bytes at or after pixels, or also before them or past the end of the
// address space, which no buffer starting at pixels can hold.
enum class Reach { Empty, Inside, Outside };
Reach pass_reach(const std::uint8_t* pixels, int bits_per_pixel, geometry::Layout layout,
                 const tagRECT& area, const tagRECT& bounds) noexcept;

// Converts the area (inclusive) of a picture whose row length in pixels is
// the bounds' width. Three bytes of each pixel are read and written; with 32
// bits per pixel the pointer advances 4 bytes a pixel but skips the rest of
// each row as if pixels were 3 bytes wide (rows drift), as always. An empty
// area converts nothing; the caller has checked the reach.
int pixel_pass(LibraryState& state, std::uint8_t* pixels, int bits_per_pixel,
               geometry::Layout layout, const tagRECT& area, const tagRECT& bounds) noexcept;

// Converts planar YCbCr data of the bounds' size (planar_pass.cpp). 0, or
// 9 for a bad descriptor.
int ycbcr_pass(LibraryState& state, const ZKImgSetPlanarYCbCr& planes,
               const tagRECT& bounds) noexcept;

}  // namespace zkimgset::setup
