// No POSIX call tells whether memory is readable or writable: a null pointer
// is refused, and a string must end within its max_chars bytes, which strnlen
// checks without reading past them.
#include "platform/pointer_checks.h"

#include <string.h>

namespace zkimgset::platform {

bool readable_string(const char* text, std::size_t max_chars) noexcept {
  return text != nullptr && strnlen(text, max_chars) < max_chars;
}

bool writable_block(void* block, std::size_t size) noexcept {
  return block != nullptr || size == 0;
}

}  // namespace zkimgset::platform
