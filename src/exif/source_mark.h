// The source-mark check: whether a written Exif block carries the mark of an
// image that the maker's own equipment has already prepared for printing.
#pragma once

#include <cstdint>
#include <span>

namespace zkimgset::exif {

// 1 when the block carries the source mark, else 0. Never reads outside the
// block: an entry, offset or text that lies outside it counts as absent.
int source_mark(std::span<const std::uint8_t> block);

}  // namespace zkimgset::exif
