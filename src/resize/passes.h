// The two passes every kernel makes: a horizontal pass over rows of the cut
// into intermediate rows (output width, packed), and a vertical pass from
// them into the caller's bottom-up bitmap. The intermediate rows are made
// as the vertical pass asks for them and kept in a small ring (a row's taps
// never span more rows than the ring holds), so the intermediate image is
// never whole in memory; a row asked for again after it left the ring is
// made again, the same. A kernel supplies its taps through a walker:
// next(emit) calls emit(index, weight) for each tap of the next output, in
// order.
//
// Each pass has a plain twin (64-bit sums and the divider, output by
// output) and, where the vector kernels are in use, hands the outputs it
// can to the AVX2 row kernels of vector_passes.h: those whose sums cannot
// leave 32 bits and, across, whose few taps read inside the row. Either way
// the bytes are the same.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "platform/kernel_choice.h"
#include "resize/divider.h"
#include "resize/tap_runs.h"
#include "resize/vector_passes.h"

namespace zkimgset::resize {

// The rows of the cut, read in place from the source bitmap. Rows and
// columns are kept inside the picture, so no read leaves it.
struct SourceCut {
  const std::uint8_t* bitmap;
  std::size_t stride;
  int height;  // of the source
  int top;     // first row of the cut, counted from the top
  int left;    // first column of the cut, inside the picture
  int limit;   // last column index the cut may read, from left

  const std::uint8_t* row(int y) const {
    const int r = std::clamp(top + y, 0, height - 1);
    return bitmap + stride * static_cast<std::size_t>(height - 1 - r) +
           3 * static_cast<std::size_t>(left);
  }
};

// A packed image the passes write, over memory owned by the caller.
struct Rows {
  std::uint8_t* data;
  int width, height;
  std::size_t stride;
  bool bottom_up;

  std::uint8_t* row(int y) const {
    const int r = bottom_up ? height - 1 - y : y;
    return data + stride * static_cast<std::size_t>(r);
  }
};

// Whether sums of add and values up to 255 times weights of these
// magnitudes stay inside 32 bits.
inline bool fits_32_bits(Int add, Int total_weight) {
  constexpr Int kLimit = std::numeric_limits<std::int32_t>::max();
  return total_weight <= kLimit / 255 && 255 * total_weight + (add < 0 ? -add : add) <= kLimit;
}

inline constexpr int kVectorLanes = 8;
inline constexpr int kMaxVectorTaps = 4;  // across; more go the plain way

// The vector twin's taps of a horizontal pass: for the longest run of
// outputs from the first (whole blocks of 8) whose taps number at most
// kMaxVectorTaps, read pixels before the cut's last (a tap reads 4 bytes)
// and keep their sums in 32 bits. `after` is the walker past them.
template <class Walker>
struct VectorTaps {
  std::unique_ptr<std::int32_t[]> offset, weight;
  HorizontalTaps taps{0, kMaxVectorTaps, 0, nullptr, nullptr};
  Walker after;
};

// One output's taps as the vector table holds them.
struct VectorOutput {
  Int index[kMaxVectorTaps], weight[kMaxVectorTaps];
  int taps = 0;
};

// The walker's next output, its indices kept inside the cut. False when the
// vector kernel cannot make it: more than kMaxVectorTaps taps, a tap on the
// cut's last pixel (a tap reads 4 bytes), no tap at all, or sums that could
// leave 32 bits.
template <class Walker>
bool next_vector_output(Walker& walker, const SourceCut& cut, Int add, VectorOutput& out) {
  bool ok = true;
  Int total = 0;
  walker.next([&](Int i, Int w) {
    i = std::clamp<Int>(i, 0, cut.limit);
    if (out.taps == kMaxVectorTaps || i >= cut.limit) ok = false;
    if (!ok) return;
    out.index[out.taps] = i, out.weight[out.taps++] = w;
    total += w < 0 ? -w : w;
  });
  return ok && out.taps > 0 && fits_32_bits(add, total);
}

template <class MakeWalker>
auto vector_taps(const SourceCut& cut, MakeWalker make_walker, Int add, Int divisor, int width,
                 const Divider& divide) {
  using Walker = decltype(make_walker());
  VectorTaps<Walker> v{nullptr, nullptr, {}, make_walker()};
  // Weights that sum to the divisor and cannot keep their sums in 32 bits
  // (a new width near 8 million) leave every output to the plain pass: no
  // table is made for them.
  if (!platform::vector_kernels() || divide.multiplier() == 0 || cut.limit < 1 ||
      !fits_32_bits(add, divisor))
    return v;
  const std::size_t room = std::size_t(width) * kMaxVectorTaps;
  v.offset.reset(new (std::nothrow) std::int32_t[room]);
  v.weight.reset(new (std::nothrow) std::int32_t[room]);
  if (!v.offset || !v.weight) return v;
  Walker walker = make_walker();
  int good = 0;  // outputs so far that qualify
  for (; good < width; ++good) {
    VectorOutput out;
    if (!next_vector_output(walker, cut, add, out)) break;
    for (int t = 0; t < kMaxVectorTaps; ++t) {
      const std::size_t at = std::size_t(t) * std::size_t(width) + std::size_t(good);
      v.offset[at] = static_cast<std::int32_t>(3 * out.index[t < out.taps ? t : 0]);
      v.weight[at] = t < out.taps ? static_cast<std::int32_t>(out.weight[t]) : 0;
    }
  }
  // Whole blocks only: the walker is walked again to the blocks' end.
  const int outputs = good / kVectorLanes * kVectorLanes;
  v.after = make_walker();
  for (int o = 0; o < outputs; ++o) v.after.next([](Int, Int) {});
  v.taps = {outputs, kMaxVectorTaps, width, v.offset.get(), v.weight.get()};
  return v;
}

// The horizontal pass, a row at a time: cut row y through the walker's
// taps into `width` outputs. Tap indices are kept inside 0..cut.limit;
// make_walker() starts the taps of a row afresh.
template <class MakeWalker>
class HorizontalRows {
 public:
  HorizontalRows(const SourceCut& cut, MakeWalker make_walker, Int add, Int divisor, int width)
      : cut_(cut),
        make_walker_(make_walker),
        add_(add),
        divide_(divisor),
        width_(width),
        vector_(vector_taps(cut, make_walker, add, divisor, width, divide_)),
        runs_(vector_.after, vector_.taps.outputs, width, cut.limit) {}

  void make(int y, std::uint8_t* q) const {
    const std::uint8_t* src = cut_.row(y);
    auto walker = make_walker_();
    int o = 0;
    if (vector_.taps.outputs > 0) {
      horizontal_row_avx2(src, vector_.taps, static_cast<std::int32_t>(add_),
                          {divide_.multiplier(), divide_.shift()}, q);
      o = vector_.taps.outputs;
      q += 3 * std::size_t(o);
      walker = vector_.after;
    }
    for (; o < width_; ++o, q += 3) {
      Int sum[3] = {add_, add_, add_};
      if (!runs_.empty())
        runs_.add(src, o, sum);
      else
        walker.next([&](Int index, Int weight) {
          const std::uint8_t* p = src + 3 * std::clamp<Int>(index, 0, cut_.limit);
          sum[0] += p[0] * weight;
          sum[1] += p[1] * weight;
          sum[2] += p[2] * weight;
        });
      for (int c = 0; c < 3; ++c) q[c] = divide_.level(sum[c]);
    }
  }

 private:
  SourceCut cut_;
  MakeWalker make_walker_;
  Int add_;
  Divider divide_;
  int width_;
  VectorTaps<decltype(std::declval<MakeWalker>()())> vector_;
  TapRuns runs_;  // of the outputs after the vector kernel's
};

// The intermediate rows (height of them, the cut's), made on demand into a
// ring of slots: row i lives in slot i mod slots.
template <class Horizontal>
class MidRows {
 public:
  MidRows(const Horizontal& horizontal, int width, int height, int slots, std::uint8_t* storage,
          int* tags)
      : horizontal_(horizontal),
        height_(height),
        slots_(slots),
        stride_(3 * std::size_t(width)),
        storage_(storage),
        tags_(tags) {
    std::fill_n(tags_, slots_, -1);
  }

  int height() const { return height_; }

  // Row `index`, kept inside the rows.
  const std::uint8_t* row(Int index) {
    const int i = static_cast<int>(std::clamp<Int>(index, 0, height_ - 1));
    const int slot = i % slots_;
    std::uint8_t* q = storage_ + stride_ * std::size_t(slot);
    if (tags_[slot] != i) {
      horizontal_.make(i, q);
      tags_[slot] = i;
    }
    return q;
  }

 private:
  const Horizontal& horizontal_;
  int height_, slots_;
  std::size_t stride_;
  std::uint8_t* storage_;
  int* tags_;
};

// A tap of the vertical pass: an intermediate row and its weight. The taps
// of an output row are kept when there are at most kMaxCachedTaps of them,
// and walked again for each chunk of the row when there are more.
struct VerticalTap {
  const std::uint8_t* row;
  Int weight;
};
inline constexpr int kMaxCachedTaps = 16;

// Walks the next output row's taps, keeping the first kMaxCachedTaps (and
// their rows) in taps; returns how many it has.
template <class Mid, class Walker>
int next_row_taps(Mid& mid, Walker& walker, VerticalTap (&taps)[kMaxCachedTaps]) {
  int count = 0;
  walker.next([&](Int index, Int weight) {
    if (count < kMaxCachedTaps) taps[count] = {mid.row(index), weight};
    ++count;
  });
  return count;
}

// The vector twin's part of an output row, from its cached taps when their
// sums stay in 32 bits: the bytes it made (none otherwise).
inline std::size_t vector_vertical_row(const VerticalTap* taps, int count, Int add,
                                       const Divider& divide, std::uint8_t* q,
                                       std::size_t row_bytes) {
  RowTap row_taps[kMaxCachedTaps];
  Int total = 0;
  for (int t = 0; t < count; ++t) {
    row_taps[t] = {taps[t].row, static_cast<std::int32_t>(taps[t].weight)};
    total += taps[t].weight < 0 ? -taps[t].weight : taps[t].weight;
  }
  if (!fits_32_bits(add, total)) return 0;
  return vertical_row_avx2(row_taps, count, static_cast<std::int32_t>(add),
                           {divide.multiplier(), divide.shift()}, q, row_bytes);
}

// The plain twin's part of an output row, from byte `begin` on. Sums are
// taken in chunks of the row so that many taps stay in cache and no
// row-sized scratch is needed. Always inlined: as a call of its own, its
// per-byte division costs the plain pass 7% more instructions.
template <class Mid, class Walker>
[[gnu::always_inline]] inline void plain_vertical_row(Mid& mid, const VerticalTap* taps, int count,
                                                      const Walker& start, Int add,
                                                      const Divider& divide, std::uint8_t* q,
                                                      std::size_t begin, std::size_t row_bytes) {
  constexpr std::size_t kChunk = 1536;  // bytes: 512 pixels
  for (; begin < row_bytes; begin += kChunk) {
    const std::size_t n = std::min(kChunk, row_bytes - begin);
    Int sum[kChunk];
    std::fill_n(sum, n, add);
    auto add_row = [&](const std::uint8_t* row, Int weight) {
      const std::uint8_t* p = row + begin;
      for (std::size_t i = 0; i < n; ++i) sum[i] += p[i] * weight;
    };
    if (count <= kMaxCachedTaps) {
      for (int t = 0; t < count; ++t) add_row(taps[t].row, taps[t].weight);
    } else {
      Walker again = start;
      again.next([&](Int index, Int weight) { add_row(mid.row(index), weight); });
    }
    for (std::size_t i = 0; i < n; ++i) q[begin + i] = divide.level(sum[i]);
  }
}

// Each output row as weighted whole intermediate rows (row indices kept
// inside them), into out.
template <class Mid, class Walker>
void vertical_pass(Mid& mid, int width, Walker walker, Int add, Int divisor, const Rows& out) {
  const Divider divide(divisor);
  const std::size_t row_bytes = 3 * static_cast<std::size_t>(width);
  const bool vector = platform::vector_kernels() && divide.multiplier() != 0;
  for (int y = 0; y < out.height; ++y) {
    VerticalTap taps[kMaxCachedTaps];
    const Walker start = walker;
    const int count = next_row_taps(mid, walker, taps);
    std::uint8_t* q = out.row(y);
    const std::size_t begin = vector && count <= kMaxCachedTaps
                                  ? vector_vertical_row(taps, count, add, divide, q, row_bytes)
                                  : 0;
    plain_vertical_row(mid, taps, count, start, add, divide, q, begin, row_bytes);
  }
}

// The rows one output row of the vertical walker spans at most.
template <class Walker>
int most_rows_spanned(Walker walker, int out_height, int mid_height) {
  int most = 1;
  for (int y = 0; y < out_height; ++y) {
    Int low = std::numeric_limits<Int>::max(), high = std::numeric_limits<Int>::min();
    walker.next([&](Int index, Int) {
      index = std::clamp<Int>(index, 0, mid_height - 1);
      low = std::min(low, index);
      high = std::max(high, index);
    });
    if (high >= low) most = std::max(most, static_cast<int>(high - low + 1));
  }
  return most;
}

// Both passes of a kernel over a cut of mid_height rows into out (whose
// width the intermediate rows share). False when the ring cannot be had.
template <class MakeWalker, class Walker>
bool two_passes(const SourceCut& cut, int mid_height, MakeWalker make_walker, Walker walker,
                Int add, Int divisor, const Rows& out) {
  // One slot more than a row spans, so that the next output row finds the
  // rows it shares with this one; never more than there are rows.
  const int slots = std::min(most_rows_spanned(walker, out.height, mid_height) + 1, mid_height);
  const std::size_t row_bytes = 3 * static_cast<std::size_t>(out.width);
  const std::unique_ptr<std::uint8_t[]> storage(new (std::nothrow)
                                                    std::uint8_t[row_bytes * std::size_t(slots)]);
  const std::unique_ptr<int[]> tags(new (std::nothrow) int[std::size_t(slots)]);
  if (!storage || !tags) return false;
  const HorizontalRows<MakeWalker> horizontal(cut, make_walker, add, divisor, out.width);
  MidRows<HorizontalRows<MakeWalker>> mid(horizontal, out.width, mid_height, slots, storage.get(),
                                          tags.get());
  vertical_pass(mid, out.width, walker, add, divisor, out);
  return true;
}

}  // namespace zkimgset::resize
