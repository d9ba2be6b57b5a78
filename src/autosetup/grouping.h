// The group analysis: neighbour differences and tolerances, the grouping of
// similar neighbouring thumbnail pixels, the exclusion of extreme groups and
// the subject selection.
#pragma once

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::autosetup {

// Sets dif_av, the Cb and Cr differences and the three tolerances.
void neighbour_differences(const _ThumbnailData& thumb, AnalysisState& state) noexcept;

// Groups the thumbnail under the current tolerances: labels, nextgrp,
// allgrpno and the group records. False when there are more than 5888 groups.
bool group_pixels(const _ThumbnailData& thumb, AnalysisState& state) noexcept;

// Widens the tolerances for the one retry of a failed grouping.
void widen_tolerances(AnalysisState& state) noexcept;

// Leaves the extreme groups out of dens_eff: the kept histogram and the
// selected pixel count.
void exclude_extreme_groups(AnalysisState& state) noexcept;

// Picks the subject groups and sets dens_sel, yy_select and the density
// weight.
void select_subject(AnalysisState& state, const LibraryState& library) noexcept;

}  // namespace zkimgset::autosetup
