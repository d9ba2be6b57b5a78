// The library's own set-up of a whole picture in one call: the analysis on a
// reduced copy of a small picture (or on the picture itself), then the pixel
// pass. No export reaches it; it is kept as an internal operation.
#pragma once

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"
#include "setup/driver.h"

namespace zkimgset::setup {

// Pictures of at most this many pixels on the long side set bit 0x80 and are
// analysed on a copy reduced to cover 132 x 96 (96 x 132 when portrait).
inline constexpr int kSmallImageSide = 640;

// 0, or 2, 3, 4 (also when the reduction fails); otherwise the pixel pass's.
int run_small_image_driver(LibraryState& library, autosetup::AnalysisState& analysis,
                           const DriverPicture& picture) noexcept;

}  // namespace zkimgset::setup
