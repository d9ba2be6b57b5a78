// Channel look-up tables, rebuilt by every conversion from the curve indices
// the conversion stored.
#include "colour/channel_table.h"

#include "colour/balance_curves.h"

namespace zkimgset::colour {
namespace {

template <class Entry>
void build(LibraryState& state, Entry entry) {
  ColourMath& m = state.colour;
  const BalanceCurve* curve[3] = {&balance_curve(m.curve_index[0]),
                                  &balance_curve(m.curve_index[1]),
                                  &balance_curve(m.curve_index[2])};
  for (int i = 0; i < 256; ++i)
    for (int c = 0; c < 3; ++c) m.channel_table[i][c] = entry(c, (*curve[c])[std::size_t(i)]);
}

}  // namespace

void build_channel_table_with_1d(LibraryState& state) noexcept {
  const std::uint8_t* table1d = state.Table1d;
  if ((state.ColorConvMode & ZKIMGSET_CONV_SKIP_1D_TABLE) != 0 || table1d == nullptr) {
    build(state, [](int, std::uint8_t v) { return v; });
    return;
  }
  build(state, [table1d](int c, std::uint8_t v) { return table1d[3 * v + c]; });
}

void build_channel_table_from_curves(LibraryState& state) noexcept {
  build(state, [](int, std::uint8_t v) { return v; });
}

}  // namespace zkimgset::colour
