// The automatic set-up as a whole: the analysis stages and the correction
// stages in their order under setup_mode, and the entry point that runs them
// on a caller's picture.
#pragma once

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::autosetup {

// Statistics, neighbour differences, grouping (with one retry on wider
// tolerances) and the density selection, as setup_mode selects; may clear
// bits of setup_mode.
void run_analysis(_ThumbnailData& thumb, AnalysisState& state, LibraryState& library) noexcept;

// Balance reset, saturation, gradation and the final tone-table stage.
void run_correction(AnalysisState& state, LibraryState& library) noexcept;

// GetAtParamEx: checks, thumbnail, analysis, correction, and the result
// copied into `result`. Returns 0, 2, 3 or 4.
int get_at_param(const std::uint8_t* image, int width, int height, AutoSetupParam* result,
                 std::uint16_t flash, std::int32_t brightness_mother, std::int32_t brightness_child,
                 AnalysisState& state, LibraryState& library) noexcept;

}  // namespace zkimgset::autosetup
