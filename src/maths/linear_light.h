// The BT.709 transfer tables that the analysis (its statistics and colour
// balance) and the set-up colour table share: linear light of an 8-bit
// level, and a 10-bit linear value back to a level. Each is built once, on
// first use.
#pragma once

#include <array>
#include <cstdint>

namespace zkimgset::maths {

// Linear light of an 8-bit level, 0.0 at 0 and 1.0 at 255.
const std::array<float, 256>& linear_level() noexcept;

// A 10-bit linear value (0..1023) back to an 8-bit level.
const std::array<std::uint8_t, 1024>& linear_to_level() noexcept;

}  // namespace zkimgset::maths
