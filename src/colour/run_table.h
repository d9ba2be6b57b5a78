// The work table of the packed pass's fast kernel: the set-up table laid out
// so that one 16-byte load brings the twelve values of a cell's red face
// (the four green-blue corners, R, G and B each), with the blue and
// red-green weights of every fraction ready to load. Building it takes a
// pass over the table (tens of microseconds), so the pixel pass makes one
// only for pictures large enough to repay it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "colour/interpolate3d.h"
#include "colour/interpolate_run.h"

namespace zkimgset::colour {

struct RunTable {
  static constexpr int kRedNodes = 33;  // node 32 (the zero tail) is a far red face
  static constexpr int kFaces = kRedNodes * 32 * 32;
  // Per node (r, g, b): R, G, B each at (g, b), (g, b + 1), (g + 1, b),
  // (g + 1, b + 1), then four zeros.
  alignas(32) std::uint8_t face[kFaces][16];
  // Per blue fraction f: the byte pairs (8 - f, f) six times, then zeros,
  // in both 128-bit halves.
  alignas(32) std::uint8_t blue[8][32];
  // Per red and green fraction (8 x fr + fg): 16-bit pairs (wr (8 - fg),
  // wr fg) three times, then zeros; wr is 8 - fr in the low half (the near
  // red face) and fr in the high half (the far one).
  alignas(32) std::int16_t red_green[64][16];
};

// A work table for `table` (107811 bytes, read as the interpolation reads
// it), or null when the memory cannot be had.
std::unique_ptr<RunTable> make_run_table(const std::uint8_t* table) noexcept;

// A pass over fewer pixels than this converts them without a work table:
// building one costs about what the table saves on this many.
inline constexpr std::int64_t kRunTableMinPixels = 1 << 16;

// A work table for a pass over `pixels` pixels where the vector kernels
// are in use and the pass is large enough to repay it; else null.
std::unique_ptr<RunTable> run_table_for(const std::uint8_t* table, std::int64_t pixels) noexcept;

// Converts n pixels at p: through the work table when there is one, else as
// interpolate_run does.
void interpolate_run(const Interpolator& interpolate, const RunTable* work, std::uint8_t* p,
                     std::size_t n, RunOptions options) noexcept;

#if defined(__x86_64__) || defined(__i386__)
// Converts n pixels at p through the work table; the last few (n mod 8)
// through the plain kernel and `interpolate`, whose table the work table
// was made from. Gives interpolate_run_plain's bytes.
void interpolate_run_table_avx2(const RunTable& work, const Interpolator& interpolate,
                                std::uint8_t* p, std::size_t n, RunOptions options) noexcept;
#endif

}  // namespace zkimgset::colour
