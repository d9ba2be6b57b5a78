// One picture's whole way, in its worker: read, check for the correction
// mark, analyse, correct, write, and the summary of what was done. Shared by
// `autosetup` and `watch`.
#pragma once

#include <string>

#include "core/library_session.h"
#include "core/output_plan.h"
#include "core/picture_summary.h"

namespace zkcli {

// JPEG quality, as --quality and a review's decisions give it.
inline constexpr Range kQualityRange{1, 100};

struct RunSettings {
  Adjustments adjustments;
  bool use_exif = true;
  int quality = 95;
  bool report = false;        // render the picture's card for the review page
  std::string report_folder;  // the page's folder, absolute: links start there
  bool force = false;         // correct pictures that carry the correction mark
  bool backup = false;        // keep an in-place input as input + backup_suffix
  std::string backup_suffix = "~";
};

struct JobResult {
  PictureSummary summary;
  std::string report_section;  // the picture's card, when analysed for a report
};

// The picture of job, corrected and written; what happened, with the reason
// for a picture skipped or failed. Nothing escapes but std::bad_alloc.
JobResult correct_job(const Job& job, const RunSettings& settings);

// The bytes a job whose input is "-" reads, read by the parent before any
// worker starts.
void set_standard_input(std::string bytes);

// The shooting values of a picture read from input (for "-", from bytes,
// which GetExifParamEx reads through a private temporary copy).
ShootingValues shooting_values_of(const std::string& input, const std::string& bytes,
                                  bool use_exif);

// "zkimgset 0.1.0": the mark an in-place run leaves in its outputs.
std::string tool_mark();

// "mode 0xDF, level 100, contrast 0, saturation 0, Exif shooting values".
std::string settings_text(const RunSettings& settings);

}  // namespace zkcli
