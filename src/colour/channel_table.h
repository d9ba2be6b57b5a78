// The channel look-up table: each channel's balance curve, then (unless the
// mode leaves it out) that channel's column of the 1-D table, folded into one
// look-up a channel.
#pragma once

#include "frame/library_state.h"

namespace zkimgset::colour {

// Curves then the 1-D table (left out when ColorConvMode has bit value 2).
void build_channel_table_with_1d(LibraryState& state) noexcept;

// Curves only, whatever the mode.
void build_channel_table_from_curves(LibraryState& state) noexcept;

}  // namespace zkimgset::colour
