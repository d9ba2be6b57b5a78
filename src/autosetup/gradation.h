// The gradation curve `tone`: the full gradation that moves the picture's
// density toward the target, the default one from the host's contrast
// adjustment alone, and the final stage that chains the level gamma table
// onto it.
#pragma once

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::autosetup {

// Density from the plain average when the group analysis does not run.
void simple_density(AnalysisState& state) noexcept;

// The full gradation (bits 3 or 4): rewrites dens_eff, the level map and tone.
void full_gradation(AnalysisState& state, LibraryState& library) noexcept;

// The default gradation: tone from SetupAdjustA alone (the identity for 0).
void default_gradation(AnalysisState& state, LibraryState& library) noexcept;

// The final tone-table stage: builds the level gamma table from
// SetupAdjustLevel and writes tone[i] = gamma[tone[i]].
void final_tone_table(AnalysisState& state, LibraryState& library) noexcept;

}  // namespace zkimgset::autosetup
