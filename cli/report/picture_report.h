// The review page's view of one picture, gathered in its worker.
#pragma once

#include "core/library_session.h"
#include "core/output_plan.h"
#include "files/picture_file.h"
#include "report/report.h"

namespace zkcli {

// The thumbnails fit within this box, both of one size; small enough that a
// page of 200 pictures stays a few megabytes.
inline constexpr int kReportThumbWidth = 320;
inline constexpr int kReportThumbHeight = 240;
inline constexpr int kReportThumbQuality = 65;

// Blocks of the thumbnail (this many pixels square) whose mean luminance lies
// within kSubjectBand levels of the subject level the analysis chose.
inline constexpr int kSubjectBlock = 8;
inline constexpr int kSubjectBand = 8;

// The "before" half: thumbnail, histograms, figures, subject cells. Call
// after the analysis and before the correction.
PictureReport report_before(const Picture& picture, const AutoSetupParam& record,
                            const ShootingValues& shot, const Figures& figures);

// The "after" half: the corrected picture's thumbnail and histograms; when
// the correction changed nothing, the "before" half's, not made again.
void report_after(PictureReport& report, const Picture& corrected, bool changed);

// Where the job's files are, for links from the page in report_folder
// (absolute) and for the decisions file; backup is the in-place original's
// backup, or "" when none was kept.
ReportFiles report_files(const Job& job, const PictureSummary& summary,
                         const std::string& report_folder, const std::string& backup);

}  // namespace zkcli
