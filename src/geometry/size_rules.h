// The picture sizes the library accepts: the analysis's rule, which the
// conversions that share its tables follow too, and the set-up driver's.
#pragma once

#include "zkimgset/zkimgset.h"

namespace zkimgset::geometry {

// One side at least 128 and the other at least 92 (the thumbnail, either
// way round), neither above 6144.
inline constexpr int kMinLongSide = 128, kMinShortSide = 92, kMaxAnalysisSide = 6144;
inline bool analysis_size_accepted(int width, int height) {
  return ((width >= kMinLongSide && height >= kMinShortSide) ||
          (width >= kMinShortSide && height >= kMinLongSide)) &&
         width <= kMaxAnalysisSide && height <= kMaxAnalysisSide;
}

// The set-up driver's: each side 16 to 6144, width / height 0.05 to 20.
inline constexpr int kMinDriverSide = 16, kMaxDriverSide = 6144;
inline constexpr double kMinDriverRatio = 0.05, kMaxDriverRatio = 20.0;

// ZKIMGSET_OK, ZKIMGSET_BAD_SIZE for a side outside its range, or
// ZKIMGSET_BAD_ASPECT for a ratio outside its range; the sides are checked
// first.
inline int driver_size_status(int width, int height) {
  if (width > kMaxDriverSide || height > kMaxDriverSide || width < kMinDriverSide ||
      height < kMinDriverSide)
    return ZKIMGSET_BAD_SIZE;
  const double ratio = double(width) / height;
  if (ratio > kMaxDriverRatio || ratio < kMinDriverRatio) return ZKIMGSET_BAD_ASPECT;
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::geometry
