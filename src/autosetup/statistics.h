// The statistics stage: turns the thumbnail's planes 1..3 into Cr + 128, Y
// and Cb + 128 in place and gathers the histograms, sums, points, clipping
// levels, zone densities and grey-pixel gains the later stages decide on,
// then makes the colour-balance decision.
#pragma once

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::autosetup {

// Returns whether the picture is usable for the analysis. Reads the
// shooting values and may clear bit 2 of setup_mode.
bool run_statistics(_ThumbnailData& thumb, AnalysisState& state, LibraryState& library) noexcept;

}  // namespace zkimgset::autosetup
