// The tool's use of the library, as any host uses it: store the set-up
// adjustments, read the shooting values, analyse, apply the correction.
#pragma once

#include <zkimgset/zkimgset.h>

#include <string>
#include <utility>
#include <vector>

#include "core/tool_limits.h"
#include "files/picture_file.h"

namespace zkcli {

// The host's adjustments: the analysis stages (setup_mode) and the stored
// level, contrast and saturation adjustments and colour shifts (the blue
// shift moves every colour toward blue, or toward yellow when negative; the
// red shift toward red, or cyan).
struct Adjustments {
  int mode = ZKIMGSET_SETUP_FULL;
  int level = 100;
  int contrast = 0;
  int saturation = 0;
  int blue_shift = 0;
  int red_shift = 0;
  friend bool operator==(const Adjustments&, const Adjustments&) = default;
};

// The values the library takes for each of them (it clamps any other), as
// the tool checks them wherever it reads them.
struct Range {
  int min, max;
};
inline constexpr Range kModeRange{0, 255};
inline constexpr Range kLevelRange{70, 130};
inline constexpr Range kContrastRange{-30, 30};
inline constexpr Range kSaturationRange{-150, 150};
inline constexpr Range kShiftRange{-7, 7};  // blue and red alike

// The stored adjustments one by one (the mode aside), as the command line,
// the review page and its decisions file name them, in the order they list
// them.
struct AdjustmentField {
  const char* key;     // the decisions file's and the page's name
  const char* option;  // the command line's
  const char* label;   // the page's
  int Adjustments::*member;
  Range range;
};
inline constexpr AdjustmentField kAdjustmentFields[] = {
    {"level", "--level", "Level", &Adjustments::level, kLevelRange},
    {"contrast", "--contrast", "Contrast", &Adjustments::contrast, kContrastRange},
    {"saturation", "--saturation", "Saturation", &Adjustments::saturation, kSaturationRange},
    {"blue_shift", "--blue-shift", "Blue shift", &Adjustments::blue_shift, kShiftRange},
    {"red_shift", "--red-shift", "Red shift", &Adjustments::red_shift, kShiftRange}};

// Whether the adjustments leave a picture as the analysis alone would.
bool neutral(const Adjustments& adjustments);

// Stores the adjustments in the library. Failure when the library refuses
// them (its colour tables did not load).
void configure_library(const Adjustments& adjustments);

// Brings the library's process-wide state back to what configure_library
// left, after any number of pictures have been read, analysed and corrected
// (see the list in library_session.cpp). A long-lived worker calls it before
// each picture.
void restore_library(const Adjustments& adjustments);

// The Exif values the analysis takes: Flash 255 and no brightness when the
// file has none or use_exif is false.
struct ShootingValues {
  bool from_file = false;
  unsigned short flash = 255;
  int brightness_num = 0;  // BrightnessValue numerator ("child")
  int brightness_den = 0;  // and denominator ("mother")
  std::string camera;      // "Make Model"
};
ShootingValues read_shooting_values(const std::string& path, bool use_exif);

// "library status 4 (image size not accepted)".
std::string status_message(int status);

// Runs the analysis. Failure with the reason ("too small (...)", the
// library's status) when it refuses the picture.
AutoSetupParam analyse_picture(const Picture& picture, const ShootingValues& shot);

// The analysis figures of the last analysis, in the order the library's
// dump gives them, less those of the stages that did not run (the library
// leaves such figures as an earlier analysis set them, so they would tell of
// another picture). With dump_folder, the library's four dump files are
// written there too (base name "base"), with the tool's own 128 x 92
// thumbnail of the picture.
using Figures = std::vector<std::pair<std::string, int>>;
Figures analysis_figures(const Picture& picture, const std::string& dump_folder = "",
                         const std::string& base = "");

// Applies the correction and the colour tables to the picture in place.
void apply_correction(Picture& picture, AutoSetupParam& record);

// The picture scaled by the library to fit within max_width x max_height,
// keeping its proportions. Packed R, G, B rows; width and height are set.
std::vector<std::uint8_t> scaled_copy(const Picture& picture, int max_width, int max_height,
                                      int& width, int& height);

// The value of a figure, or fallback when the dump did not name it.
int figure(const Figures& figures, const std::string& name, int fallback);

}  // namespace zkcli
