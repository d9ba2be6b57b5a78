// Resizing: the work budget, the intermediate image, and the kernel the
// plan chose. Positions are measured in units of 1 / (2 x new width) of a
// source pixel, so every division is exact or explicitly truncated, and all
// pixel arithmetic is integer. Work memory is the intermediate image (output
// width x cut height) and at most a small table a requested column; it is
// reckoned and allocated, without throwing, before any table is built.
#include "resize/resize.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "resize/kernels.h"

namespace zkimgset::resize {
namespace {

constexpr std::uint64_t kNoBuffer = std::numeric_limits<std::uint64_t>::max();
// The most bytes a kernel's table takes a requested column (kernel 3's
// weights; kernel 4 keeps a tap count).
constexpr std::uint64_t kTableBytesPerColumn = 64;

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
  const std::size_t mid_stride = 3 * static_cast<std::size_t>(plan.result_width);
  const std::unique_ptr<std::uint8_t[]> mid(
      new (std::nothrow) std::uint8_t[mid_stride * static_cast<std::size_t>(cut_height)]);
  if (!mid) return ZKIMGSET_OUT_OF_MEMORY;

  // The cut never reaches past the picture by more than rounding; its rows
  // and columns are kept inside the picture all the same.
  const int left = std::clamp(plan.cut_left, 0, src_width - 1);
  const KernelJob job{
      plan, new_width,
      SourceCut{source, bitmap_stride(src_width), src_height, plan.cut_top, left,
                std::max(std::min(plan.cut_width, src_width - left) - 1, 0)},
      Rows{mid.get(), plan.result_width, cut_height, mid_stride, false},
      Rows{result, plan.result_width, plan.result_height, bitmap_stride(plan.result_width), true}};
  switch (plan.kernel) {
    case 1:
    case 2:
      run_linear(job);
      return ZKIMGSET_OK;
    case 3:
      return run_kernel3(job) ? ZKIMGSET_OK : ZKIMGSET_OUT_OF_MEMORY;
    default:
      return run_kernel4(job) ? ZKIMGSET_OK : ZKIMGSET_OUT_OF_MEMORY;
  }
}

}  // namespace zkimgset::resize
