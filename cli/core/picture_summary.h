// What happened to one picture, in words and as JSON: decided once, in the
// worker that handled the picture, from the analysis record and figures, and
// shown alike by -v, --json, the report and anything else that reads the
// JSON line. The JSON shape is documented in README ("The per-picture
// summary") and only ever grows.
#pragma once

#include <zkimgset/zkimgset.h>

#include <optional>
#include <string>
#include <vector>

#include "core/library_session.h"

namespace zkcli {

enum class Outcome { Corrected, Unchanged, Failed, Skipped };

// "corrected", "unchanged", "failed", "skipped".
const char* outcome_key(Outcome outcome);

// The reference level of the brightness wording: the sRGB level of a mid
// grey (L* 50, 18% reflectance) is 118.
inline constexpr int kMidGrey = 118;
// Changes smaller than these are not worth a word.
inline constexpr int kMinLevelMove = 2;       // levels at mid-grey
inline constexpr int kMinContrastMove = 3;    // percent
inline constexpr int kMinCast = 2;            // Cb or Cr steps
inline constexpr int kMinSaturationMove = 2;  // percent
// The quarter-tone levels whose distance measures contrast.
inline constexpr int kShadowLevel = 64, kHighlightLevel = 192;
// The saturation coefficient that leaves saturation unchanged.
inline constexpr int kNeutralSaturation = 1024;

// How the correction changed the picture's pixels, measured over the whole
// picture before and after it (when a report is written). The review page
// sorts by these and warns with them.
struct PictureReview {
  bool measured = false;
  double mean_before = 0, mean_after = 0;  // mean luminance, in levels
  // Percent of the pixels clipped to black (shadows) or white (highlights).
  double shadows_before = 0, shadows_after = 0;
  double highlights_before = 0, highlights_after = 0;
  // What an operator should look at, one phrase each: "highlights clipped:
  // 0.3% -> 4.8% of pixels", "dark scene brightened: mean level 41 -> 98".
  std::vector<std::string> warnings;
};

struct PictureSummary {
  std::string input;   // as given ("-" for standard input)
  std::string output;  // as written ("-" for standard output); "" when nothing was written
  Outcome outcome = Outcome::Failed;
  std::string reason;                 // failed or skipped: why; unchanged: why nothing was done
  std::string format_in, format_out;  // "jpeg", "png", "tiff"; "" when not known
  int width = 0, height = 0;
  // The correction the analysis decided, in numbers (corrected and unchanged).
  bool analysed = false;
  int mode_after = 0;          // setup_mode after the analysis
  int mid_grey_to = kMidGrey;  // tone[118]
  int contrast_percent = 0;    // (tone[192] - tone[64]) / 128, as a change in percent
  int cb = 0, cr = 0;          // the colour cast found and removed, Cb and Cr steps
  int saturation_percent = 0;  // mean saturation coefficient, as a change in percent
  // The same in words, one phrase each: "brightened: mid-grey 118 -> 141".
  std::vector<std::string> changes;
  // Recoverable warnings while reading, and metadata not carried over.
  std::vector<std::string> notes;
  double seconds = 0;
  PictureReview review;
  // In a run from a review's decisions: the decision, and the adjustments
  // an adjusted picture was corrected with.
  std::string decision;
  std::optional<Adjustments> adjustments;
};

// Fills the numbers and words of a correction, and decides whether there is
// anything to do: a record that leaves every level and colour as it was,
// under neutral adjustments, makes the picture "unchanged".
void summarise_correction(PictureSummary& summary, const AutoSetupParam& record,
                          const Figures& figures, const Adjustments& adjustments);

// The phrases joined: "brightened: mid-grey 118 -> 141; saturation +4%".
std::string joined(const std::vector<std::string>& phrases);

// One line of text: "brightened: mid-grey 118 -> 141; blue cast removed
// (Cb +6)", or the reason of a picture not corrected.
std::string summary_text(const PictureSummary& summary);

// One JSON object on one line.
std::string summary_json(const PictureSummary& summary);

// {"level":110,"contrast":5,"saturation":0,"blue_shift":0,"red_shift":-2},
// and the same members without the braces.
std::string adjustments_json(const Adjustments& adjustments);
std::string adjustment_members(const Adjustments& adjustments);

// The summary as it crosses from a worker to the parent, and back.
std::string pack_summary(const PictureSummary& summary);
bool unpack_summary(const std::string& bytes, PictureSummary& summary);

// A JSON string literal.
std::string json_string(const std::string& text);

}  // namespace zkcli
