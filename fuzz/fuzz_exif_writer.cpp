// Fuzzes the writer: a document read from the bytes, its written size, the
// write into a block of exactly that size and into one a byte short, and the
// source-mark check over the result.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "exif/exif_document.h"
#include "exif/exif_writer.h"
#include "exif/source_mark.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zkimgset::exif;
  ExifDocument document;
  if (read_document(document, std::span<const std::uint8_t>(data, size)) != code::kOk) return 0;
  const auto width = pixel_dimension(document.exif, tag::kPixelXDimension).value_or(1);
  const auto height = pixel_dimension(document.exif, tag::kPixelYDimension).value_or(1);
  std::size_t written = 0;
  if (written_size(document, written) != code::kOk) return 0;
  std::vector<std::uint8_t> block(written);
  if (write_document(document, block, width, height) == code::kOk) source_mark(block);
  if (written > 0) {
    std::vector<std::uint8_t> short_block(written - 1);
    write_document(document, short_block, width, height);
  }
  return 0;
}
