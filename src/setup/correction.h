// An analysis's result as the set-up colour table takes it.
#pragma once

#include <algorithm>
#include <iterator>

#include "autosetup/analysis_state.h"
#include "colour/setup_table.h"

namespace zkimgset::setup {

inline colour::Correction correction_of(const autosetup::AnalysisState& analysis) noexcept {
  colour::Correction c;
  std::copy(std::begin(analysis.tone), std::end(analysis.tone), c.tone);
  std::copy(std::begin(analysis.gain), std::end(analysis.gain), c.gain);
  std::copy(std::begin(analysis.sat_coef), std::end(analysis.sat_coef), c.sat_coef);
  c.bk_clp = analysis.bk_clp;
  c.wt_clp = analysis.wt_clp;
  return c;
}

}  // namespace zkimgset::setup
