// The state the automatic set-up analysis shares between its stages and keeps
// from one analysis to the next: the quantities the debug dump prints, and
// the histograms, sums, gains and zone densities behind them. One
// AnalysisState serves the loaded library; tests build their own.
#pragma once

#include <cstdint>

#include "zkimgset/zkimgset.h"

namespace zkimgset::autosetup {

inline constexpr int kThumbWidth = ZKIMGSET_THUMB_WIDTH;    // 128
inline constexpr int kThumbHeight = ZKIMGSET_THUMB_HEIGHT;  // 92
inline constexpr int kThumbPixels = ZKIMGSET_THUMB_PIXELS;  // 11776
inline constexpr int kLevels = 256;
inline constexpr int kSatCoefficients = 100;

// Thumbnail planes: yy, then red, green, blue as made, which the statistics
// stage turns into Cr + 128, Y and Cb + 128.
inline constexpr int kPlaneYy = 0;
inline constexpr int kPlaneRedCr = 1;
inline constexpr int kPlaneGreenY = 2;
inline constexpr int kPlaneBlueCb = 3;

enum Channel { kRed = 0, kGreen = 1, kBlue = 2 };

// What the statistics stage hands to the colour-balance decision.
struct ChromaEstimate {
  double grey_cb = 0, grey_cr = 0;      // near-grey pixel means
  double tinted_cb = 0, tinted_cr = 0;  // tinted pixel means
  double tm = 0;                        // twice the grey threshold at the mean luminance
};

struct AnalysisState {
  // The named quantities, as the dump prints them.
  std::int16_t cb_ofs = 0, cr_ofs = 0;
  std::int16_t nextgrp = 0, allgrpno = 0;
  std::int16_t dens_av = 0, dens_sel = 0, dens_eff = 0;
  std::int16_t yy_av = 0, yy_mn = 0, yy_mx = 0;
  std::int16_t y_mn = 0, y_mx = 0;
  std::int16_t bk_clp = 0, wt_clp = 0;
  std::int16_t yy_select = 0;
  std::int16_t cb_av = 0, cr_av = 0, sat_av = 0, dif_av = 0;
  std::int16_t toler = 0;
  std::uint8_t tone[kLevels] = {};
  std::int16_t sat_coef[kSatCoefficients] = {};

  // Statistics of the thumbnail.
  std::uint16_t hist_y[kLevels] = {};
  std::uint16_t hist_rgb[3][kLevels] = {};
  // Per luminance level: sums of Cb, Cr and Cb^2 + Cr^2, then their means.
  std::int32_t level_cb[kLevels] = {}, level_cr[kLevels] = {}, level_c2[kLevels] = {};
  float white_point[3] = {}, black_point[3] = {};
  std::uint16_t zone_density[3] = {};  // zones 1 (outer ring), 2, 3 (centre)
  ChromaEstimate chroma;
  bool usable = false;

  // Channel gains: the grey-pixel gains of the statistics stage, then the
  // colour-balance decision's; 1.0 is no change.
  float gain[3] = {1.0f, 1.0f, 1.0f};
  // Reference grey level of the colour balance, a one-byte setting.
  std::uint8_t reference_grey = 180;
  // A saved copy of the thumbnail's red, green and blue planes. The dump
  // writes it; no analysis path refreshes it, so it holds whatever it held.
  std::uint8_t saved_rgb[3][kThumbPixels] = {};
};

// The analysis state of the loaded library.
AnalysisState& analysis_state() noexcept;

}  // namespace zkimgset::autosetup
