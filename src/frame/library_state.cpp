// The one LibraryState of the loaded library.
#include "frame/library_state.h"

namespace zkimgset {

LibraryState& library_state() noexcept {
  static LibraryState state;
  return state;
}

}  // namespace zkimgset
