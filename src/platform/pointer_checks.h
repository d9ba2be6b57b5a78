// The argument checks of the Exif exports: whether the host's path can be
// read as a string and whether its record can be written.
#pragma once

#include <cstddef>

namespace zkimgset::platform {

// False when text cannot be read as a string of at most max_chars
// characters.
bool readable_string(const char* text, std::size_t max_chars) noexcept;

// False when the bytes block .. block + size cannot be written.
bool writable_block(void* block, std::size_t size) noexcept;

}  // namespace zkimgset::platform
