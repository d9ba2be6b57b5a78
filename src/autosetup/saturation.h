// The saturation table sat_coef: 100 coefficients, 1024 = unity, entry k for
// chroma magnitude k + 1.
#pragma once

#include <cstdint>

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::autosetup {

using SaturationTable = std::int16_t[kSatCoefficients];

// The full stage: strength from setup_mode, CustomRendered and the host's
// SetupAdjustB (clamped to -150..150 and stored back).
void full_saturation_table(AnalysisState& state, LibraryState& library) noexcept;

// All 1024.
void default_saturation_table(SaturationTable& table) noexcept;

// The set-up driver's own table: the strength SetupAdjustB / 10 alone.
void adjustment_saturation_table(SaturationTable& table, LibraryState& library) noexcept;

// The arc through chroma 100 for strength d (default table for d = 0).
void saturation_curve(double d, SaturationTable& table) noexcept;

}  // namespace zkimgset::autosetup
