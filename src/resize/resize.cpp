// Resizing: the work budget and the kernel the plan chose. Positions are
// measured in units of 1 / (2 x new width) of a source pixel, so every
// division is exact or explicitly truncated, and all pixel arithmetic is
// integer. Work memory is a ring of intermediate rows (output width x the
// few rows an output row spans) and small tables a requested column, all
// allocated without throwing; the budget reckons a whole intermediate image
// (output width x cut height), the most the ring could ever be, before any
// of it is allocated.
#include "resize/resize.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "geometry/picture.h"
#include "resize/kernels.h"

namespace zkimgset::resize {
namespace {

constexpr std::uint64_t kNoBuffer = std::numeric_limits<std::uint64_t>::max();
// The most bytes the tables take a requested column: kernel 3's weights
// (48; kernel 4 keeps a tap count) and the vector pass's taps across (32).
constexpr std::uint64_t kTableBytesPerColumn = 128;
constexpr auto kBitmap = geometry::Layout::BitmapBgr;

}  // namespace

std::uint64_t work_bytes(const ZKImgSetResizePlan& plan, int new_width) noexcept {
  const std::uint64_t width = std::max(plan.result_width, 0);
  const std::uint64_t rows = std::max(plan.cut_height, 1);
  std::uint64_t mid = 0, total = 0;
  if (__builtin_mul_overflow(3 * width, rows, &mid) ||
      __builtin_add_overflow(mid, kTableBytesPerColumn * std::uint64_t(new_width), &total) ||
      total > std::uint64_t{PTRDIFF_MAX})
    return kNoBuffer;
  return total;
}

int resize_into(const std::uint8_t* source, int src_width, int src_height,
                const ZKImgSetResizePlan& plan, int new_width, std::uint8_t* result) noexcept {
  if (plan.result_width < 1 || plan.result_height < 1) return ZKIMGSET_OK;
  if (work_bytes(plan, new_width) == kNoBuffer) return ZKIMGSET_OUT_OF_MEMORY;
  const int cut_height = std::max(plan.cut_height, 1);

  // The cut never reaches past the picture by more than rounding; its rows
  // and columns are kept inside the picture all the same.
  const int left = std::clamp(plan.cut_left, 0, src_width - 1);
  const KernelJob job{
      plan, new_width,
      SourceCut{source, geometry::row_bytes(std::size_t(src_width), kBitmap), src_height,
                plan.cut_top, left, std::max(std::min(plan.cut_width, src_width - left) - 1, 0)},
      cut_height,
      Rows{result, plan.result_width, plan.result_height,
           geometry::row_bytes(std::size_t(plan.result_width), kBitmap), true}};
  bool done = false;
  switch (plan.kernel) {
    case 1:
    case 2:
      done = run_linear(job);
      break;
    case 3:
      done = run_kernel3(job);
      break;
    default:
      done = run_kernel4(job);
      break;
  }
  return done ? ZKIMGSET_OK : ZKIMGSET_OUT_OF_MEMORY;
}

}  // namespace zkimgset::resize
