// The two passes every kernel makes: a horizontal pass over each row of the
// cut into the intermediate image (output width x cut height, packed, top
// down), then a vertical pass from it into the caller's bottom-up bitmap.
// A kernel supplies its taps through a walker: next(emit) calls
// emit(index, weight) for each tap of the next output, in order.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "resize/divider.h"

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

// Each cut row through the walker's taps, into mid. Tap indices are kept
// inside 0..cut.limit. make_walker() starts the taps of a row afresh.
template <class MakeWalker>
void horizontal_pass(const SourceCut& cut, MakeWalker make_walker, Int add, Int divisor,
                     const Rows& mid) {
  const Divider divide(divisor);
  for (int y = 0; y < mid.height; ++y) {
    const std::uint8_t* src = cut.row(y);
    std::uint8_t* q = mid.row(y);
    auto walker = make_walker();
    for (int o = 0; o < mid.width; ++o, q += 3) {
      Int sum[3] = {add, add, add};
      walker.next([&](Int index, Int weight) {
        const std::uint8_t* p = src + 3 * std::clamp<Int>(index, 0, cut.limit);
        sum[0] += p[0] * weight;
        sum[1] += p[1] * weight;
        sum[2] += p[2] * weight;
      });
      for (int c = 0; c < 3; ++c) q[c] = divide.level(sum[c]);
    }
  }
}

// Each output row as weighted whole rows of mid (row indices kept inside
// it), into out. Sums are taken in chunks of a row so that many taps stay
// in cache and no row-sized scratch is needed.
template <class Walker>
void vertical_pass(const Rows& mid, Walker walker, Int add, Int divisor, const Rows& out) {
  constexpr std::size_t kChunk = 1536;  // bytes: 512 pixels
  const Divider divide(divisor);
  const std::size_t row_bytes = 3 * static_cast<std::size_t>(mid.width);
  struct Tap {
    const std::uint8_t* row;
    Int weight;
  };
  constexpr int kMaxCached = 16;
  for (int y = 0; y < out.height; ++y) {
    // The taps of this row: kept when few, walked again per chunk when many.
    Tap taps[kMaxCached];
    int count = 0;
    bool many = false;
    const Walker start = walker;
    walker.next([&](Int index, Int weight) {
      if (count < kMaxCached)
        taps[count] = {mid.row(static_cast<int>(std::clamp<Int>(index, 0, mid.height - 1))),
                       weight};
      ++count;
      many = count > kMaxCached;
    });
    std::uint8_t* q = out.row(y);
    for (std::size_t begin = 0; begin < row_bytes; begin += kChunk) {
      const std::size_t n = std::min(kChunk, row_bytes - begin);
      Int sum[kChunk];
      std::fill_n(sum, n, add);
      auto add_row = [&](const std::uint8_t* row, Int weight) {
        const std::uint8_t* p = row + begin;
        for (std::size_t i = 0; i < n; ++i) sum[i] += p[i] * weight;
      };
      if (!many) {
        for (int t = 0; t < count; ++t) add_row(taps[t].row, taps[t].weight);
      } else {
        Walker again = start;
        again.next([&](Int index, Int weight) {
          add_row(mid.row(static_cast<int>(std::clamp<Int>(index, 0, mid.height - 1))), weight);
        });
      }
      for (std::size_t i = 0; i < n; ++i) q[begin + i] = divide.level(sum[i]);
    }
  }
}

}  // namespace zkimgset::resize
