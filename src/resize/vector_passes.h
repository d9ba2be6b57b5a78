// The vector twins' row kernels (vector_passes_avx2.cpp), called by the
// passes in passes.h for the outputs whose sums fit in 32 bits and whose
// reads stay inside the row: 32-bit sums, the divider's exact multiply and
// shifts, the same bytes as the plain twins' 64-bit sums.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zkimgset::resize {

// A divisor as a multiplier and shift (see Divider).
struct VectorDivision {
  std::uint32_t multiplier;
  int shift;
};

// The taps of the first `outputs` outputs of a horizontal pass, `taps` of
// each (missing ones with weight 0): byte offsets into the row (3 x index)
// and weights, tap t of output o at [t * stride + o]. outputs is a
// multiple of 8.
struct HorizontalTaps {
  int outputs, taps, stride;
  const std::int32_t* offset;
  const std::int32_t* weight;
};

// One row's first taps.outputs outputs into out (3 bytes each).
void horizontal_row_avx2(const std::uint8_t* row, const HorizontalTaps& taps, std::int32_t add,
                         VectorDivision divide, std::uint8_t* out) noexcept;

struct RowTap {
  const std::uint8_t* row;
  std::int32_t weight;
};

// The first bytes of an output row from `count` weighted rows, in blocks
// of 32; returns how many bytes it wrote.
std::size_t vertical_row_avx2(const RowTap* taps, int count, std::int32_t add,
                              VectorDivision divide, std::uint8_t* out, std::size_t bytes) noexcept;

}  // namespace zkimgset::resize
