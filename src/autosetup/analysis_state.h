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

inline constexpr int kMaxGroups = kThumbPixels / 2;  // 5888: more is a failed grouping

// One group of similar neighbouring thumbnail pixels, after renumbering.
struct Group {
  std::int32_t mean_y = 0, mean_cb = 0, mean_cr = 0;
  std::uint8_t min_column = 0, max_column = 0, min_row = 0, max_row = 0;
};

// What the group analysis works on and leaves behind.
struct GroupState {
  std::uint16_t label[kThumbPixels] = {};
  Group group[kMaxGroups] = {};
  std::uint16_t count[kMaxGroups] = {};  // pixels a group holds; 0 once ruled out as subject
  std::uint8_t excluded[kMaxGroups] = {};
  std::int16_t cb_limit = 0, cr_limit = 0;  // tolerances beside toler
  std::int16_t cb_dif = 0, cr_dif = 0;      // mean neighbour differences
  std::uint16_t kept_hist[kLevels] = {};
  std::uint16_t subject_hist[kLevels] = {};
  std::int32_t subject_y = 0, subject_cb = 0, subject_cr = 0;  // subject means
  std::uint8_t subject_box[4] = {};  // min column, max column, min row, max row
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

  // The group analysis and the density it selects.
  GroupState groups;
  std::uint16_t selected_count = 0;  // pixels of the kept groups (11776 when all count)
  std::uint16_t density_weight = 0;  // pixels of the subject
  // Gradation by-products: the level map of the full gradation and the level
  // gamma table of the final stage.
  float level_map[kLevels] = {};
  std::uint8_t level_gamma[kLevels] = {};

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
