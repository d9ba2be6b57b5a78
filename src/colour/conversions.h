// The density and colour-balance conversions: a caller's 24-bit picture
// through the balance curves and 1-D table, the file's 3-D table, or both,
// in place, leaving pure white margins untouched.
#pragma once

#include <cstdint>

#include "frame/library_state.h"
#include "geometry/picture.h"

namespace zkimgset::colour {

enum class Core {
  Density,  // 1-D stage with shifts, then 3-D stage (Den2TA)
  ThreeD,   // 3-D stage only (Vorn2TA)
  OneD,     // 1-D stage with shifts (Den2Vorn)
  Balance,  // balance curves only (ColorBalanceAdj)
};

struct Shifts {
  int red = 0, green = 0, blue = 0;
};

// Status checks in the core's order, then its stages. Returns 0 or the
// first failing status.
int convert(LibraryState& state, std::uint8_t* pixels, int width, int height,
            geometry::Layout layout, Core core, Shifts shifts) noexcept;

// Bottom-up padded B, G, R rows to top-down packed R, G, B, in place.
void bitmap_to_packed(std::uint8_t* pixels, int width, int height);
// Top-down packed R, G, B to bottom-up padded B, G, R rows, in place (the
// buffer must hold the padded size).
void packed_to_bitmap(std::uint8_t* pixels, int width, int height);

}  // namespace zkimgset::colour
