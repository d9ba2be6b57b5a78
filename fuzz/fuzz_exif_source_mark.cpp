// Fuzzes the source-mark check over arbitrary blocks.
#include <cstddef>
#include <cstdint>
#include <span>

#include "exif/source_mark.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zkimgset::exif::source_mark(std::span<const std::uint8_t>(data, size));
  return 0;
}
