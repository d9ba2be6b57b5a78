// The debug dump of an analysis: a text file of the named quantities and
// three raw files of the thumbnail.
#pragma once

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::autosetup {

// Writes folder + base + "_AutoSetupParam.txt", "_ThumbYCC128x92.raw",
// "_ThumbRGB128x92.raw" and "_th_yy128x92.raw". Each file is written only if
// the one before it could be opened; nothing at all when the text file
// cannot be opened, or when an argument is null.
void dump_auto_setup_param(const char* folder, const char* base, const tagRECT* rect,
                           const _ThumbnailData* thumb, const AnalysisState& state,
                           const LibraryState& library) noexcept;

}  // namespace zkimgset::autosetup
