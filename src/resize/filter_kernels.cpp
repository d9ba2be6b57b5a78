// Kernels 3 and 4: filters over the source pixels an output covers, with
// 16.16 weights. Kept on purpose: kernel 3's vertical pass reuses the
// column weights (the index wrapping after new-width rows) and wraps its
// row walk near the end; kernel 4's one- and two-tap weights are 0, so
// such outputs come out black.
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>

#include "resize/kernels.h"

namespace zkimgset::resize {
namespace {

constexpr Int kUnit = 65536;
constexpr Int kHalfUnit = kUnit / 2;

// ---- Kernel 3 -------------------------------------------------------------

// A column covers 2 or 3 source pixels; a scale a hair below a third (the
// single-precision third picks this kernel) can make it 4.
constexpr int kMaxTaps3 = 4;
struct Column3 {
  Int first;
  int taps;
  Int weight[kMaxTaps3];
};

// Weights by distance from the column's centre: a bias g = 3 cw - 6 new
// width, raw weights g + cw - |c - D (j + t)|, scaled to sum to 65536 with
// the remainder on the middle of three taps, on the larger of two (the
// second on a tie).
Column3 kernel3_column(Int x, Int cw, Int nw) {
  const Int d = 2 * nw;
  auto e = [&](Int i) { return i < 0 ? Int{-1} : ((i + 1) * 2 * cw - nw) / d; };
  const Int g = 3 * cw - 6 * nw;
  const Int centre = cw - nw + 2 * x * cw;
  Column3 column{e(x - 1) + 1, static_cast<int>(e(x) - e(x - 1)), {}};
  Int raw[kMaxTaps3], total = 0;
  for (int t = 0; t < column.taps; ++t) {
    raw[t] = g + cw - std::llabs(centre - d * (column.first + t));
    total += raw[t];
  }
  Int sum = 0;
  for (int t = 0; t < column.taps; ++t) {
    column.weight[t] = total == 0 ? 0 : raw[t] * kUnit / total;
    sum += column.weight[t];
  }
  if (column.taps > 0) {
    int to = 0;
    for (int t = 1; t < column.taps; ++t)
      if (column.weight[t] > column.weight[to]) to = t;
    if (column.taps == 3) to = 1;
    if (column.taps == 2) to = column.weight[1] >= column.weight[0] ? 1 : 0;
    column.weight[to] += kUnit - sum;
  }
  return column;
}

// Across: each column's taps where its table says.
struct Columns3Walker {
  const Column3* column;
  template <class Emit>
  void next(Emit emit) {
    for (int t = 0; t < column->taps; ++t) emit(column->first + t, column->weight[t]);
    ++column;
  }
};

// Down: row y takes column y's weights (wrapping after new-width rows) at a
// row walk that starts at 0, advances by the tap count and is set back to
// ch - 3 once it reaches ch - 2.
struct Rows3Walker {
  const Column3* columns;
  Int count, ch, y = 0, r = 0;
  template <class Emit>
  void next(Emit emit) {
    const Column3& c = columns[y % count];
    for (int t = 0; t < c.taps; ++t) emit(r + t, c.weight[t]);
    r += c.taps;
    if (r >= ch - 2) r = ch - 3;
    ++y;
  }
};

// ---- Kernel 4 -------------------------------------------------------------

// Weights by tap count; one and two taps weigh nothing. More than ten taps
// weigh 65536 / n each.
constexpr Int kTableWeights[11][10] = {
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
constexpr int kTabledTaps = 10;

Int kernel4_weight(int n, int t) { return n <= kTabledTaps ? kTableWeights[n][t] : kUnit / n; }

// Taps of output x from the scale k: the pixels between its centre less
// and plus half a step, in single precision. The float steps are kept; the
// truncations go through 64 bits, as a sum near 2^31 may round past int.
int kernel4_count(int x, float k, float half) {
  const float c = static_cast<float>((x + 0.5) / k - 0.5);
  return static_cast<int>(static_cast<long long>(static_cast<float>(c + half)) -
                          static_cast<long long>(static_cast<float>((c - half) + 1.0)));
}

// Across: a source index that runs on from output to output, each tap
// limited to the cut's last pixel.
struct Columns4Walker {
  const int* counts;
  Int count, cw, x = 0, index = 0;
  template <class Emit>
  void next(Emit emit) {
    const int n = counts[x % count];
    for (int t = 0; t < n; ++t, ++index) emit(std::min(index, cw - 1), kernel4_weight(n, t));
    ++x;
  }
};

// Down: a row start r from 0; tap t first lowers r to ch - t - 1 when it
// has reached ch - t, then reads row r + t; the row then advances r by its
// tap count.
struct Rows4Walker {
  const int* counts;
  Int count, ch, y = 0, r = 0;
  template <class Emit>
  void next(Emit emit) {
    const int n = counts[y % count];
    for (int t = 0; t < n; ++t) {
      if (r >= ch - t) r = ch - t - 1;
      emit(r + t, kernel4_weight(n, t));
    }
    r += std::max(n, 0);
    ++y;
  }
};

template <class T>
std::unique_ptr<T[]> try_array(Int n) {
  return std::unique_ptr<T[]>(new (std::nothrow) T[static_cast<std::size_t>(n)]);
}

}  // namespace

bool run_kernel3(const KernelJob& job) {
  const Int cw = job.plan.cut_width, ch = job.plan.cut_height, nw = job.new_width;
  const auto columns = try_array<Column3>(nw);
  if (!columns) return false;
  for (Int x = 0; x < nw; ++x) columns[static_cast<std::size_t>(x)] = kernel3_column(x, cw, nw);
  return two_passes(
      job.cut, job.mid_height, [&] { return Columns3Walker{columns.get()}; },
      Rows3Walker{columns.get(), nw, ch}, kHalfUnit, kUnit, job.out);
}

bool run_kernel4(const KernelJob& job) {
  const Int cw = job.plan.cut_width, ch = job.plan.cut_height, nw = job.new_width;
  const auto counts = try_array<int>(nw);
  if (!counts) return false;
  const float k = static_cast<float>(double(nw) / double(cw));
  const float half = static_cast<float>(1.0 / k / 2);
  for (Int x = 0; x < nw; ++x)
    counts[static_cast<std::size_t>(x)] = kernel4_count(static_cast<int>(x), k, half);
  return two_passes(
      job.cut, job.mid_height,
      [&] {
        return Columns4Walker{counts.get(), nw, cw};
      },
      Rows4Walker{counts.get(), nw, ch}, kHalfUnit, kUnit, job.out);
}

}  // namespace zkimgset::resize
