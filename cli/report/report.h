// The review page: one self-contained HTML file per run (inline styles and a
// small inline script, nothing fetched) on which an operator compares each
// picture before and after, sees what changed in words and where pixels
// clip, sorts the pictures that most need a look to the top, and accepts,
// rejects or adjusts each, exporting the decisions as a JSON file that
// `zkimgset autosetup --decisions` carries out.
//
// Each picture's card is rendered in the worker process that corrected it;
// the page wraps the cards, with the failed and skipped inputs at the end.
#pragma once

#include <zkimgset/zkimgset.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/library_session.h"
#include "core/picture_review.h"
#include "core/picture_summary.h"

namespace zkcli {

// A small picture shown on the page: encoded JPEG bytes and their size.
struct ReportImage {
  std::string jpeg;
  int width = 0;
  int height = 0;
};

// Where a picture's files are, seen from the page and from a later run.
struct ReportFiles {
  // Relative links from the page's folder to the picture before and after
  // correction, percent-encoded; empty when there is no such file (read from
  // standard input, replaced in place without a backup, written to standard
  // output). Whether a browser can show them (JPEG and PNG, not TIFF).
  std::string before_link, after_link;
  bool before_viewable = false, after_viewable = false;
  // For the decisions file: the original as the run read it ("" when it is
  // gone), the output as written, and its name below the run's destination.
  std::string original, output, name;
};

// What the page shows of one analysed picture.
struct PictureReport {
  std::size_t index = 0;  // the picture's place among the run's inputs
  ReportFiles files;
  PictureSummary summary;  // outcome, the correction in words and numbers, review
  ReportImage before;      // thumbnails before and after, of one size
  ReportImage after;
  Histograms histograms_before, histograms_after;
  AutoSetupParam record{};  // tone curve, colour-balance offsets, saturation
  // The analysis figures in the order the library's dump lists them
  // ("setup_mode", "Flash", "dens_av", "yy_select", ...).
  Figures figures;
  // The cells of the thumbnail (blocks of subject_cell pixels, row 0 first)
  // whose luminance lies near the level the analysis chose for the subject;
  // empty when the analysis ran without its subject stage.
  std::vector<std::uint8_t> subject_mask;
  int subject_columns = 0, subject_rows = 0, subject_cell = 1;
  bool exif_used = false;   // the shooting values came from the file
  std::string camera;       // "Make Model" from the Exif data, or ""
  Adjustments adjustments;  // the stored adjustments it was corrected with
};

// One picture's card.
std::string render_picture_card(const PictureReport& picture);

// An input of the run as the page lists it: analysed pictures with their
// card; the others (failed, skipped, or copied as accepted in a review) with
// their reason or what was done.
struct ReportEntry {
  Outcome outcome = Outcome::Failed;
  std::string input;
  std::string reason;
  std::string card;
  double priority = 0;  // review_priority of an analysed picture
};

// The run, as the page's head shows it and as its decisions file repeats it.
struct RunSummary {
  std::string settings;  // e.g. "mode 0xDF, level 100, contrast 0, saturation 0, ..."
  std::string version;   // the tool's version
  int corrected = 0, unchanged = 0, failed = 0, skipped = 0;
  double seconds = 0;
  // What `zkimgset autosetup --decisions` needs to repeat the run: the
  // folder the run's relative paths start from, the page's path as given,
  // and the settings in numbers.
  std::string base;
  std::string report;
  Adjustments adjustments;
  bool use_exif = true;
  int quality = 95;
  // Tells this run's decisions, kept by the browser, from another run's.
  std::string run_id;
};

// The whole page. Analysed pictures come first, in the order the page sorts
// them by default (those most likely to need a look first); copied, failed
// and skipped inputs follow in folded sections of their own.
std::string render_report_page(const RunSummary& summary, const std::vector<ReportEntry>& entries);

}  // namespace zkcli
