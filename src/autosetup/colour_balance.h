// The colour-balance decision that ends every statistics stage: the offsets
// cb_ofs and cr_ofs and the three channel gains.
#pragma once

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::autosetup {

// Decides from state.chroma, state.sat_av and the grey-pixel gains in
// state.gain; writes cb_ofs, cr_ofs and the new gains.
void decide_colour_balance(AnalysisState& state, const LibraryState& library) noexcept;

// The shooting-condition factor applied to the estimate; 1.0 when none.
double shooting_factor(const ExifParam& shot) noexcept;

}  // namespace zkimgset::autosetup
