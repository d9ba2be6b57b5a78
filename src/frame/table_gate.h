// The table-status gate: an image conversion refuses to run while a table
// that the current ColorConvMode needs failed to load.
#pragma once

#include "frame/library_state.h"

namespace zkimgset {

// 0 when the tables the mode needs are loaded; otherwise the failing table's
// status. Mode 0 needs both (the 1-D status is reported first), mode 1 the
// 1-D table, mode 2 the 3-D table, any other mode neither.
int table_status_gate(const LibraryState& state) noexcept;

}  // namespace zkimgset
