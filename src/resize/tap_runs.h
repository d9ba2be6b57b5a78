// The plain horizontal pass's taps as runs: neighbouring pixels of one
// weight make a run, and a run adds its bytes' sums times the weight, the
// same integers as tap by tap with one multiply a run instead of one a tap
// and no walker in the row loop. Kernel 4's wide taps (more than ten, each
// 65536 / n) are such runs, so a thumbnail of a large picture reads each
// source byte with an add and little else.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "resize/divider.h"

namespace zkimgset::resize {

struct TapRun {
  std::int64_t offset;  // bytes from the row's start
  Int count, weight;
};

class TapRuns {
 public:
  // The runs of outputs first..width - 1, their walker standing at first,
  // tap indices kept inside 0..limit. None (empty()) when they would not
  // pay, fewer than two taps a run, or would take too much memory.
  template <class Walker>
  TapRuns(Walker walker, int first, int width, Int limit) : first_(first) {
    const Int outputs = Int{width} - first;
    if (outputs <= 0 || outputs > kMaxRuns) return;
    Int taps = 0, runs = 0;
    Walker counting = walker;
    for (Int o = 0; o < outputs; ++o)
      each_run(counting, limit, [&](const TapRun& r) { ++runs, taps += r.count; });
    if (runs > kMaxRuns || 2 * runs > taps) return;
    runs_.reset(new (std::nothrow) TapRun[static_cast<std::size_t>(runs)]);
    start_.reset(new (std::nothrow) std::int32_t[static_cast<std::size_t>(outputs) + 1]);
    if (!runs_ || !start_) {
      runs_.reset();
      return;
    }
    std::int32_t n = 0;
    for (Int o = 0; o < outputs; ++o) {
      start_[static_cast<std::size_t>(o)] = n;
      each_run(walker, limit, [&](const TapRun& r) { runs_[static_cast<std::size_t>(n++)] = r; });
    }
    start_[static_cast<std::size_t>(outputs)] = n;
  }

  bool empty() const { return !runs_; }

  // Adds output o's weighted bytes of the row at src to sum.
  void add(const std::uint8_t* src, int o, Int (&sum)[3]) const {
    const auto i = static_cast<std::size_t>(o - first_);
    for (std::int32_t r = start_[i]; r < start_[i + 1]; ++r) {
      const TapRun& run = runs_[static_cast<std::size_t>(r)];
      const std::uint8_t* p = src + run.offset;
      Int s0 = 0, s1 = 0, s2 = 0;
      for (Int k = 0; k < run.count; ++k, p += 3) s0 += p[0], s1 += p[1], s2 += p[2];
      sum[0] += s0 * run.weight;
      sum[1] += s1 * run.weight;
      sum[2] += s2 * run.weight;
    }
  }

 private:
  static constexpr Int kMaxRuns = Int{1} << 20;

  // The walker's next output as runs, in order.
  template <class Walker, class Emit>
  static void each_run(Walker& walker, Int limit, Emit emit) {
    TapRun run{0, 0, 0};
    walker.next([&](Int index, Int weight) {
      const Int at = 3 * std::clamp<Int>(index, 0, limit);
      if (run.count > 0 && weight == run.weight && at == run.offset + 3 * run.count) {
        ++run.count;
        return;
      }
      if (run.count > 0) emit(run);
      run = {at, 1, weight};
    });
    if (run.count > 0) emit(run);
  }

  int first_;
  std::unique_ptr<TapRun[]> runs_;
  std::unique_ptr<std::int32_t[]> start_;
};

}  // namespace zkimgset::resize
