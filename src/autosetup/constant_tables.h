// The analysis's constant tables: grey threshold, level density and zone
// map. Each is built once, on first use. The linear-light tables it shares
// with the set-up colour table are in maths/linear_light.h.
#pragma once

#include <array>
#include <cstdint>

namespace zkimgset::autosetup {

// Squared-chroma limit below which a pixel of luminance Y counts as
// near-grey: 0 at both ends, 103 at its top (level 103).
const std::array<std::uint8_t, 256>& grey_threshold() noexcept;

// Print density of a luminance level in thousandths: 2230 at 0, 100 at 255.
const std::array<std::uint16_t, 256>& level_density() noexcept;

// The zone of a thumbnail pixel (index = row x 128 + column), from a map of
// 23 x 32 cells of 4 x 4 pixels: 0 outside the ellipse inscribed in the
// frame, 1 its outer ring, 2 the middle ring, 3 the centre.
inline constexpr int kZoneRows = 23;
inline constexpr int kZoneColumns = 32;
int zone_of(int thumb_index) noexcept;

}  // namespace zkimgset::autosetup
