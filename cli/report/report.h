// The visual report: one self-contained HTML page per run. Each picture is
// rendered into its own section (in the worker process that corrected it);
// the page wraps the sections in input order.
#pragma once

#include <zkimgset/zkimgset.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zkcli {

// A small picture shown in the report: encoded JPEG bytes and their size.
struct ReportImage {
  std::string jpeg;
  int width = 0;
  int height = 0;
};

// What the report shows of one corrected picture.
struct PictureReport {
  std::string input;   // the input path as given
  std::string output;  // the path written
  int width = 0;       // the picture's size
  int height = 0;
  ReportImage before;  // thumbnails of the picture before and after correction
  ReportImage after;
  AutoSetupParam record{};  // tone curve, colour-balance offsets, saturation
  // The analysis figures in the order the library's dump lists them
  // ("setup_mode", "Flash", "dens_av", "yy_select", ...).
  std::vector<std::pair<std::string, int>> figures;
  // The thumbnail cells (before.width x before.height, row 0 first) whose
  // luminance lies near the level the analysis chose for the subject; empty
  // when the analysis ran without its subject stage.
  std::vector<std::uint8_t> subject_mask;
  bool exif_used = false;  // the shooting values came from the file
  std::string camera;      // "Make Model" from the Exif data, or ""
  double seconds = 0;      // time taken for this picture
  std::string summary;     // what the correction did, in words
};

// The settings and totals of a run, shown at the top of the page.
struct RunSummary {
  std::string settings;  // e.g. "mode 0xDF, level 100, contrast 0, saturation 0"
  std::string version;   // the tool's version
  int succeeded = 0;
  int failed = 0;
  double seconds = 0;
  int unchanged = 0;
  int skipped = 0;
};

// One picture's section of the page.
std::string render_picture_section(const PictureReport& picture);

// The section of a picture that could not be corrected.
std::string render_failure_section(const std::string& input, const std::string& reason);

// The whole page around the sections, which are placed in the order given.
std::string render_report_page(const RunSummary& summary, const std::vector<std::string>& sections);

}  // namespace zkcli
