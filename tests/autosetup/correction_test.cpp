// The colour-balance decision on prepared statistics. The shooting factor,
// the gradation and the saturation tables are pinned by the analysis's
// recorded records.
#include <gtest/gtest.h>

#include <algorithm>

#include "autosetup/colour_balance.h"

namespace zkimgset::autosetup {
namespace {

// An estimate (cb, cr) beyond the circle of squared radius tm is pulled onto
// it, halved (gains of 1 add nothing) and weakened by the hue band (same
// signs, ratio near 1), a saturated picture (sat_av over 4000) and bit 5.
TEST(ColourBalance, EstimateIsPulledOntoTheCircleWeakenedAndHalved) {
  const struct {
    std::uint16_t custom_rendered, setup_mode;
    int sat_av;
    double cb, cr, tm;
    int cb_ofs, cr_ofs;
  } cases[] = {{1, 0, 0, 10, -6, 400, 0, 0},  // a rendered picture gets no balance
               {0, 0, 0, 30, 0, 144, 6, 0},
               {0, ZKIMGSET_SETUP_HALVE, 0, 0, -14, 1000, 0, -4},  // -3.5 away from zero
               {0, 0, 0, 6, 6, 1000, 2, 2},                        // 6 x 0.666667 / 2
               {0, 0, 4001, -8, 8, 1000, -2, 2}};
  for (const auto& c : cases) {
    AnalysisState state;
    LibraryState library;
    library.shooting.param.CustomRendered = c.custom_rendered;
    library.shooting.param.Flash = 0;
    library.setup_mode = c.setup_mode;
    state.sat_av = static_cast<std::int16_t>(c.sat_av);
    std::fill(std::begin(state.gain), std::end(state.gain), 1.0f);
    state.gain[kRed] = c.custom_rendered ? 1.3f : 1.0f;
    state.chroma = {c.cb, c.cr, c.cb, c.cr, c.tm};
    decide_colour_balance(state, library);
    EXPECT_EQ(state.cb_ofs, c.cb_ofs) << c.cb << ", " << c.cr;
    EXPECT_EQ(state.cr_ofs, c.cr_ofs) << c.cb << ", " << c.cr;
    if (c.custom_rendered) {
      EXPECT_EQ(state.gain[kRed], 1.0f) << "no gain is kept for a rendered picture";
    }
  }
}

}  // namespace
}  // namespace zkimgset::autosetup
