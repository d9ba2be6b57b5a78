// ImageDataConvertEx: applies an AutoSetupParam computed earlier to a
// picture, without analysing it again.
#pragma once

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::setup {

int image_data_convert(LibraryState& library, autosetup::AnalysisState& analysis, void* data,
                       int width, int height, int mode, const AutoSetupParam* record,
                       const tagRECT* area, const tagRECT* bounds) noexcept;

}  // namespace zkimgset::setup
