// Windows: the kernel's own probes, which also catch pointers into memory
// that is not mapped or not writable.
#include "platform/pointer_checks.h"

#include <windows.h>

namespace zkimgset::platform {

bool readable_string(const char* text, std::size_t max_chars) noexcept {
  return IsBadStringPtrA(text, max_chars) == 0;
}

bool writable_block(void* block, std::size_t size) noexcept {
  return IsBadWritePtr(block, size) == 0;
}

}  // namespace zkimgset::platform
