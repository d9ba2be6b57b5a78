// Resizing. Positions are measured in units of 1 / (2 x new width) of a
// source pixel, so every division is exact or explicitly truncated, and all
// pixel arithmetic is integer. Kept on purpose: kernels 1 and 2 sample half a
// source pixel apart; the vertical passes reuse the horizontal ratio; kernel
// 3's vertical pass reuses the column weights and wraps its row walk; kernel
// 4's one- and two-tap weights are 0, so such outputs come out black; kernels
// 3 and 4 may make the result one smaller than asked. Every source index is
// kept inside the cut, so no input reads outside the caller's picture.
#include "resize/resize.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace zkimgset::resize {
namespace {

using Int = std::int64_t;

// One output of a pass: its taps (source index, weight) and its rounding.
struct Tap {
  int index;
  Int weight;
};
struct Output {
  std::vector<Tap> taps;
};
struct Filter {
  Int add, divisor;
  std::vector<Output> outputs;
};

constexpr Int kUnit = 65536;  // 16.16 weights of kernels 3 and 4

// Exact unsigned 32-bit division by a divisor fixed for a whole pass (a
// multiply and shifts instead of a divide per byte; 2 x width for kernels 1
// and 2, 65536 for kernels 3 and 4). Results are limited to 0..255 anyway,
// so a negative sum (kernel 3's weights can be) simply gives 0.
class Divider {
 public:
  explicit Divider(Int d) : d_(std::uint32_t(d)) {
    while ((std::uint64_t{1} << shift_) < d_) ++shift_;
    multiplier_ =
        std::uint32_t(((std::uint64_t{1} << 32) * ((std::uint64_t{1} << shift_) - d_)) / d_ + 1);
  }
  std::uint8_t level(Int sum) const {
    if (sum <= 0) return 0;
    const auto x = std::uint32_t(std::min<Int>(sum, 0xFFFFFFFF));
    std::uint32_t q;
    if (d_ == 1) {
      q = x;
    } else {
      const auto t = std::uint32_t((std::uint64_t{multiplier_} * x) >> 32);
      q = (((x - t) >> 1) + t) >> (shift_ - 1);
    }
    return static_cast<std::uint8_t>(std::min<std::uint32_t>(q, 255));
  }

 private:
  std::uint32_t d_, multiplier_ = 0;
  int shift_ = 0;
};

// Weights of kernel 4 by tap count; one and two taps weigh nothing.
const std::vector<std::vector<Int>> kTableWeights = {
    {},
    {0},
    {0, 0},
    {18725, 28086, 18725},
    {13107, 19661, 19661, 13107},
    {10347, 13797, 17248, 13797, 10347},
    {8192, 10922, 13654, 13654, 10922, 8192},
    {6931, 8822, 10713, 12604, 10713, 8822, 6931},
    {5813, 7399, 8984, 10572, 10572, 8984, 7399, 5813},
    {5617, 6553, 7489, 8427, 9364, 8427, 7489, 6553, 5617},
    {4915, 5734, 6553, 7373, 8194, 8194, 7373, 6553, 5734, 4915},
};

// Kernels 1 and 2: two taps at position p, in units of 1 / D.
Output linear_taps(Int p, Int d, int last, bool limit_i1_only, bool weights_after_limit) {
  Int i0 = p / d, i1 = i0 + 1;
  Int w1 = p - i0 * d, w0 = (i0 + 1) * d - p;
  if (limit_i1_only) {
    if (i0 >= last) i1 = i0;
  } else if (i0 >= last) {
    i0 = i1 = last;
    if (weights_after_limit) w1 = p - i0 * d, w0 = (i0 + 1) * d - p;
  }
  return {{{int(i0), w0}, {int(i1), w1}}};
}

Filter linear_filter(int kernel, int outputs, int cw, int nw, int last, bool vertical) {
  const Int d = 2 * Int{nw};
  Filter f{nw, d, {}};
  for (int x = 0; x < outputs; ++x) {
    const Int p = kernel == 1 ? Int{cw} * (2 * x + 1) : Int{cw} - nw + 2 * Int{x} * cw;
    if (kernel == 1) {
      f.outputs.push_back(linear_taps(p, d, last, !vertical, false));
    } else {
      Output o =
          vertical ? linear_taps(p, d, last, false, true)
                   : Output{{{int(p / d), (p / d + 1) * d - p}, {int(p / d + 1), p - (p / d) * d}}};
      f.outputs.push_back(o);
    }
  }
  return f;
}

// Kernel 3: two or three taps per output, weighted by distance.
std::vector<Output> kernel3_columns(int cw, int nw) {
  const Int d = 2 * Int{nw};
  auto e = [&](Int x) { return x < 0 ? Int{-1} : ((x + 1) * 2 * cw - nw) / d; };
  const Int g = 3 * Int{cw} - 6 * Int{nw};
  std::vector<Output> columns;
  for (int x = 0; x < nw; ++x) {
    const Int first = e(x - 1) + 1, n = e(x) - e(x - 1);
    const Int centre = Int{cw} - nw + 2 * Int{x} * cw;
    std::vector<Int> raw;
    Int total = 0;
    for (Int t = 0; t < n; ++t) {
      raw.push_back(g + cw - std::llabs(centre - d * (first + t)));
      total += raw.back();
    }
    Output o;
    Int sum = 0;
    for (Int t = 0; t < n; ++t) {
      const Int w = total == 0 ? 0 : raw[std::size_t(t)] * kUnit / total;
      o.taps.push_back({int(first + t), w});
      sum += w;
    }
    if (!o.taps.empty()) {
      // The remainder goes to the middle of three taps, to the larger of two
      // (the second on a tie).
      std::size_t to = o.taps.size() == 3 ? 1 : 0;
      if (o.taps.size() == 2) to = o.taps[1].weight >= o.taps[0].weight ? 1 : 0;
      if (o.taps.size() > 3)
        to = std::size_t(
            std::max_element(o.taps.begin(), o.taps.end(),
                             [](const Tap& a, const Tap& b) { return a.weight < b.weight; }) -
            o.taps.begin());
      o.taps[to].weight += kUnit - sum;
    }
    columns.push_back(o);
  }
  return columns;
}

// Kernel 4: tap counts from the scale, weights from the table.
std::vector<int> kernel4_counts(int cw, int nw) {
  const float k = static_cast<float>(double(nw) / cw);
  const float half = static_cast<float>(1.0 / k / 2);
  std::vector<int> counts;
  for (int x = 0; x < nw; ++x) {
    const float c = static_cast<float>((x + 0.5) / k - 0.5);
    counts.push_back(static_cast<int>(static_cast<float>(c + half)) -
                     static_cast<int>(static_cast<float>((c - half) + 1.0)));
  }
  return counts;
}

Int kernel4_weight(int n, int t) {
  return n <= 10 ? kTableWeights[std::size_t(n)][std::size_t(t)] : kUnit / n;
}

// The horizontal pass: each of `rows` source rows (row(y) gives its first
// pixel) through the filter, into a packed image. Tap indices are kept
// inside 0..limit.
template <class RowOf>
Image horizontal(const Filter& f, int outputs, int rows, int limit, RowOf row) {
  Image out;
  out.width = outputs;
  out.height = rows;
  out.rgb.assign(3 * std::size_t(outputs) * std::size_t(rows), 0);
  std::vector<std::vector<Tap>> taps;
  for (int o = 0; o < outputs; ++o) {
    taps.push_back(f.outputs[std::size_t(o)].taps);
    for (Tap& t : taps.back()) t.index = std::clamp(t.index, 0, limit);
  }
  const Divider divide(f.divisor);
  for (int y = 0; y < rows; ++y) {
    const std::uint8_t* src = row(y);
    std::uint8_t* q = &out.rgb[3 * std::size_t(y) * std::size_t(outputs)];
    for (int o = 0; o < outputs; ++o, q += 3) {
      Int sum[3] = {0, 0, 0};
      for (const Tap& t : taps[std::size_t(o)]) {
        const std::uint8_t* p = src + 3 * std::size_t(t.index);
        sum[0] += p[0] * t.weight;
        sum[1] += p[1] * t.weight;
        sum[2] += p[2] * t.weight;
      }
      for (int c = 0; c < 3; ++c) q[c] = divide.level(sum[c] + f.add);
    }
  }
  return out;
}

// The vertical pass: each output row is a weighted sum of whole rows of the
// intermediate image.
Image vertical(const Filter& f, int outputs, const Image& mid) {
  Image out;
  out.width = mid.width;
  out.height = outputs;
  const std::size_t row = 3 * std::size_t(mid.width);
  out.rgb.assign(row * std::size_t(outputs), 0);
  std::vector<Int> sum(row);
  const Divider divide(f.divisor);
  for (int o = 0; o < outputs; ++o) {
    std::fill(sum.begin(), sum.end(), Int{0});
    for (const Tap& t : f.outputs[std::size_t(o)].taps) {
      const std::uint8_t* src = &mid.rgb[row * std::size_t(std::clamp(t.index, 0, mid.height - 1))];
      for (std::size_t i = 0; i < row; ++i) sum[i] += src[i] * t.weight;
    }
    std::uint8_t* q = &out.rgb[row * std::size_t(o)];
    for (std::size_t i = 0; i < row; ++i) q[i] = divide.level(sum[i] + f.add);
  }
  return out;
}

}  // namespace

Cut cut_rectangle(int src_width, int src_height, int new_width, int new_height) noexcept {
  const double W = src_width, H = src_height, w = new_width, h = new_height;
  const double a = W / H;
  const float s =
      static_cast<float>(w / a) >= h ? static_cast<float>(w / W) : static_cast<float>(h / H);
  const double x0 = (static_cast<float>(W * s) - w) / 2, y0 = (static_cast<float>(H * s) - h) / 2;
  const float left = static_cast<float>(x0 / s), top = static_cast<float>(y0 / s);
  const int l = static_cast<int>(left), t = static_cast<int>(top);
  const int r = static_cast<int>(left + (W - 2 * double(left)));
  const int b = static_cast<int>(top + (H - 2 * double(top)));
  return {l, t, r - l, b - t};
}

int kernel_for(int new_width, int cut_width) noexcept {
  const float k = static_cast<float>(double(new_width) / cut_width);
  if (k >= 1.0f) return 1;
  if (k >= 0.5f) return 2;
  if (k >= 1.0f / 3.0f) return 3;
  return 4;
}

Image resize_cut(const std::uint8_t* bitmap, int src_width, int src_height, const Cut& cut, int nw,
                 int nh) {
  const int cw = std::max(cut.width, 1), ch = std::max(cut.height, 1);
  // Rows of the cut, read in place; the cut never reaches past the picture,
  // and rows and columns are kept inside it all the same.
  const std::size_t stride = bitmap_stride(src_width);
  const int left = std::clamp(cut.left, 0, src_width - 1);
  const int limit = std::min(cw, src_width - left) - 1;
  auto row = [&](int y) {
    const int r = std::clamp(cut.top + y, 0, src_height - 1);
    return bitmap + stride * std::size_t(src_height - 1 - r) + 3 * std::size_t(left);
  };
  const int kernel = kernel_for(nw, cw);
  const Int d = 2 * Int{nw};
  if (kernel <= 2) {
    const Image mid =
        horizontal(linear_filter(kernel, nw, cw, nw, cw - 1, false), nw, ch, limit, row);
    return vertical(linear_filter(kernel, nh, cw, nw, ch - 1, true), nh, mid);
  }
  if (kernel == 3) {
    const auto columns = kernel3_columns(cw, nw);
    auto reduced = [&](int n, int c) {
      return n - ((Int{n - 1} * 2 * c + 2 * Int{c} - n) / d >= c ? 1 : 0);
    };
    const int ow = reduced(nw, cw), oh = std::min(reduced(nh, ch), nh);
    const Image mid = horizontal(Filter{kUnit / 2, kUnit, columns}, ow, ch, limit, row);
    Filter rows{kUnit / 2, kUnit, {}};
    for (int y = 0, r = 0; y < oh; ++y) {
      Output o = columns[std::size_t(y % nw)];
      const int first = o.taps.empty() ? 0 : o.taps.front().index;
      for (Tap& t : o.taps) t.index = r + (t.index - first);
      rows.outputs.push_back(o);
      r += int(o.taps.size());
      if (r >= ch - 2) r = ch - 3;
    }
    return vertical(rows, oh, mid);
  }
  auto size = [&](int c) {
    const Int numerator = (Int{c} + 1) * d + cw % nw, denominator = 2 * Int{cw};
    return int(numerator / denominator - (numerator % denominator == 0 ? 1 : 0));
  };
  const int ow = std::clamp(size(cw), 1, nw), oh = std::clamp(size(ch), 1, nh);
  const auto counts = kernel4_counts(cw, nw);
  Filter columns{kUnit / 2, kUnit, {}};
  for (int x = 0, index = 0; x < ow; ++x) {
    const int n = counts[std::size_t(x % nw)];
    Output o;
    for (int t = 0; t < n; ++t, ++index)
      o.taps.push_back({std::min(index, cw - 1), kernel4_weight(n, t)});
    columns.outputs.push_back(o);
  }
  const Image mid = horizontal(columns, ow, ch, limit, row);
  Filter rows{kUnit / 2, kUnit, {}};
  for (int y = 0, r = 0; y < oh; ++y) {
    const int n = counts[std::size_t(y % nw)];
    Output o;
    for (int t = 0; t < n; ++t) {
      if (r >= ch - t) r = ch - t - 1;
      o.taps.push_back({r + t, kernel4_weight(n, t)});
    }
    rows.outputs.push_back(o);
    r += std::max(n, 0);
  }
  return vertical(rows, oh, mid);
}

}  // namespace zkimgset::resize
