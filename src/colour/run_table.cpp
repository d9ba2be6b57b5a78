// Building the packed pass's work table from the set-up table.
#include "colour/run_table.h"

#include <new>

#include "platform/kernel_choice.h"

namespace zkimgset::colour {
namespace {

constexpr int kAxis = 32;
constexpr int kStrideG = kAxis * 3, kStrideB = 3;
constexpr int kUnit = 8;  // a cell's width in fraction steps

}  // namespace

std::unique_ptr<RunTable> make_run_table(const std::uint8_t* table) noexcept {
  std::unique_ptr<RunTable> work(new (std::nothrow) RunTable);
  if (!work) return work;
  // The corners at g + 1 or b + 1 = 32 read the next row or slab, as the
  // interpolation does, always with weight 0; red node 32 reads the zero
  // tail, and its own far corners are never read.
  constexpr int kCorner[4] = {0, kStrideB, kStrideG, kStrideG + kStrideB};
  for (int n = 0; n < RunTable::kFaces; ++n) {
    std::uint8_t* face = work->face[n];
    const int base = n * kStrideB;
    for (int c = 0; c < 3; ++c)
      for (int q = 0; q < 4; ++q)
        face[4 * c + q] = n < kAxis * kAxis * kAxis ? table[base + kCorner[q] + c] : 0;
    for (int q = 12; q < 16; ++q) face[q] = 0;
  }
  for (int f = 0; f < kUnit; ++f)
    for (int q = 0; q < 32; ++q)
      work->blue[f][q] = static_cast<std::uint8_t>(q % 16 < 12 ? (q % 2 ? f : kUnit - f) : 0);
  for (int fr = 0; fr < kUnit; ++fr)
    for (int fg = 0; fg < kUnit; ++fg)
      for (int q = 0; q < 16; ++q) {
        const int wr = q < 8 ? kUnit - fr : fr, wg = q % 2 ? fg : kUnit - fg;
        work->red_green[fr * kUnit + fg][q] = static_cast<std::int16_t>(q % 8 < 6 ? wr * wg : 0);
      }
  return work;
}

std::unique_ptr<RunTable> run_table_for(const std::uint8_t* table, std::int64_t pixels) noexcept {
#if defined(__x86_64__) || defined(__i386__)
  if (platform::vector_kernels() && pixels >= kRunTableMinPixels) return make_run_table(table);
#endif
  (void)table, (void)pixels;
  return nullptr;
}

void interpolate_run(const Interpolator& interpolate, const RunTable* work, std::uint8_t* p,
                     std::size_t n, RunOptions options) noexcept {
#if defined(__x86_64__) || defined(__i386__)
  if (work != nullptr && platform::vector_kernels())
    return interpolate_run_table_avx2(*work, interpolate, p, n, options);
#endif
  interpolate_run(interpolate, p, n, options);
}

}  // namespace zkimgset::colour
