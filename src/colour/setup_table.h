// Building ColorTable3dMain, the 3-D table that carries the whole set-up
// correction (tone, colour balance gains, saturation, the host's shifts and
// balance curves, the 1-D and file 3-D tables) for the pixel pass.
#pragma once

#include <cstdint>

#include "frame/library_state.h"

namespace zkimgset::colour {

// What the set-up table takes from an analysis (or from the set-up driver's
// own colour path): the tone curve, the channel gains in linear light, the
// saturation table, and the clipping range that decides the blend. The
// start values are no correction at all.
struct Correction {
  std::uint8_t tone[256] = {};
  float gain[3] = {1.0f, 1.0f, 1.0f};
  std::int16_t sat_coef[100] = {};
  std::int16_t bk_clp = 0, wt_clp = 0;
};

// The largest chroma that keeps a colour of luminance level y (1..255) and
// hue `degrees` (0..359) inside the RGB cube, rounded: row y - 1 of the
// chroma-limit table.
std::uint8_t chroma_limit(int y, int degrees) noexcept;

// The blend weight between the full correction and a plain level stretch.
double blend_weight(const Correction& correction, const LibraryState& library) noexcept;

// Rebuilds ColorTable3dMain from the correction and the library's tables,
// modes and adjustments.
void build_setup_table(LibraryState& library, const Correction& correction) noexcept;

// Puts the level stretch back to its defaults (white 255, black 0).
void reset_colour_math(LibraryState& library) noexcept;

}  // namespace zkimgset::colour
