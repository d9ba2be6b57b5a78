// The set-up driver behind AutoSetupExecEx, ImageSetupExecEx and
// ImageDataConvert: the white border cut off into a work copy, the Exif-tag
// service's automatic set-up merged back, and the pixel pass.
#pragma once

#include <cstdint>
#include <string>

#include "autosetup/analysis_state.h"
#include "frame/library_state.h"

namespace zkimgset::setup {

struct DriverPicture {
  std::uint8_t* pixels;
  int width, height;
  int stride;          // handed to the pixel pass, which does not use it
  int bits_per_pixel;  // 24 or 32; three bytes of each pixel are used
  unsigned layout;     // 0 packed R, G, B rows; 1 bitmap rows B, G, R padded to 4
};

// Runs the driver; returns its status. The flash and brightness arguments of
// the exports never reach it: the service gets the stored shooting values.
int run_driver(LibraryState& library, const autosetup::AnalysisState& analysis,
               const DriverPicture& picture) noexcept;

// ImageSetupExecEx's nine adjustments (its arguments 7 to 15), clamped and
// stored: setup_mode 0..255, SetupAdjustLevel 70..130, SetupAdjustA -30..30,
// SetupAdjustB -150..150, SetupAdjustC and D -7..7, the three balance steps
// -7..7 (the export adds 7 to them once it holds the lock).
void store_adjustments(LibraryState& library, const int (&values)[9]) noexcept;

// ImageDataConvert's picture: a 24-bit bitmap whose stride (handed on, never
// used) is its padded row length.
DriverPicture bitmap_picture(void* pixels, int width, int height) noexcept;

}  // namespace zkimgset::setup
