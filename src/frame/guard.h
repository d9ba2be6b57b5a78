// The boundary between the library and its callers: no exception crosses it.
// Inside, failures may throw; here they become status codes.
#pragma once

#include <new>

#include "zkimgset/zkimgset.h"

namespace zkimgset {

// Runs work() and returns its status; an allocation failure becomes
// ZKIMGSET_OUT_OF_MEMORY and any other exception `otherwise`.
template <class Work>
int guarded(int otherwise, Work&& work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return ZKIMGSET_OUT_OF_MEMORY;
  } catch (...) {
    return otherwise;
  }
}

}  // namespace zkimgset
