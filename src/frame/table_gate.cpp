// The table-status gate. The mode values are tested as whole values, not as
// bits: mode 3, the default, needs no table at all.
#include "frame/table_gate.h"

namespace zkimgset {

int table_status_gate(const LibraryState& state) noexcept {
  switch (state.ColorConvMode) {
    case 0:
      return state.Table1dStatus != ZKIMGSET_OK ? state.Table1dStatus : state.Table3dStatus;
    case 1:
      return state.Table1dStatus;
    case 2:
      return state.Table3dStatus;
    default:
      return ZKIMGSET_OK;
  }
}

}  // namespace zkimgset
