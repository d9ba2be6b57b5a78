// Writing an Exif document as one self-contained TIFF byte stream, after
// normalising it: the main image's structure tags go, and the tags an Exif
// structure must have are added with fixed defaults where missing.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "exif/exif_document.h"

namespace zkimgset::exif {

// Removes the image-structure tags and adds the default groups that apply;
// 0 or the code of the first failure. Applying it twice changes nothing.
Code normalise(ExifDocument& document);

// Normalises the document and sets size to the byte count write_document
// would produce.
Code written_size(ExifDocument& document, std::size_t& size);

// Normalises the document and writes it into block (written_size bytes) in
// the host's byte order, with the given pixel dimensions. Pad bytes are
// written as zero, so the block need not be cleared.
Code write_document(ExifDocument& document, std::span<std::uint8_t> block, std::uint32_t width,
                    std::uint32_t height);

// A dimension tag's value with only its low three bytes kept, as the block
// stage hands it to the writer; nothing when the tag is absent.
std::optional<std::uint32_t> pixel_dimension(const ExifIfd& exif, std::uint16_t number);

}  // namespace zkimgset::exif
