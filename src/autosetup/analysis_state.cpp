// The one AnalysisState of the loaded library.
#include "autosetup/analysis_state.h"

namespace zkimgset::autosetup {

AnalysisState& analysis_state() noexcept {
  static AnalysisState state;
  return state;
}

}  // namespace zkimgset::autosetup
