// The report's view of one corrected picture, gathered in its worker.
#pragma once

#include "core/library_session.h"
#include "files/picture_file.h"
#include "report/report.h"

namespace zkcli {

// The report's thumbnails fit within this box.
inline constexpr int kReportThumbWidth = 360;
inline constexpr int kReportThumbHeight = 270;

// Blocks of the thumbnail (this many pixels square) whose mean luminance lies
// within kSubjectBand levels of the subject level the analysis chose.
inline constexpr int kSubjectBlock = 8;
inline constexpr int kSubjectBand = 8;

// The "before" half: thumbnail, figures, subject cells. Call after the
// analysis and before the correction.
PictureReport report_before(const Picture& picture, const AutoSetupParam& record,
                            const ShootingValues& shot, const Figures& figures);

// The "after" half: the corrected picture's thumbnail.
void report_after(PictureReport& report, const Picture& corrected);

}  // namespace zkcli
