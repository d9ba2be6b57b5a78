// The 15 balance curves: curve c (0..14) shifts a channel's mid-tones by
// c - 7 steps; curve 7 is the identity.
#pragma once

#include <array>
#include <cstdint>

namespace zkimgset::colour {

inline constexpr int kBalanceCurves = 15;
inline constexpr int kMaxShift = 7;

using BalanceCurve = std::array<std::uint8_t, 256>;

// Curve for index 0..14 (shift index - 7).
const BalanceCurve& balance_curve(int index) noexcept;

// A shift clamped to -7..7, as a curve index 0..14.
std::int16_t curve_index_for_shift(int shift) noexcept;

}  // namespace zkimgset::colour
