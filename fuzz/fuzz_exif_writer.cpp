// Fuzzes the writer: a document read from the bytes, its written size, the
// write into a block of exactly that size and into one a byte short, and
// the source-mark check over the result. The oracle: the block read back
// holds every tag of the normalised document with its type, count and
// value (the pointers and thumbnail offsets aside, which must lead to
// their directories and the thumbnail), so nothing is lost or torn.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "exif/exif_document.h"
#include "exif/exif_writer.h"
#include "exif/source_mark.h"

namespace {

using namespace zkimgset::exif;

[[noreturn]] void fail(const char* what, std::uint16_t number) {
  std::fprintf(stderr, "round trip: %s, tag 0x%04X\n", what, number);
  std::abort();
}

bool is_link(std::uint16_t number) {
  return number == tag::kExifIfdPointer || number == tag::kGpsIfdPointer ||
         number == tag::kInteropIfdPointer || number == tag::kJpegInterchangeFormat;
}

void same_tags(const ExifIfd& written, const ExifIfd& back, bool in_1st) {
  if (written.size() != back.size()) fail("a directory changed its size", 0);
  for (const auto& [number, tag] : written) {
    const ExifTag* found = back.find(number);
    if (found == nullptr) fail("a tag went missing", number);
    if (found->type != tag.type || found->count != tag.count) fail("type or count", number);
    const bool link = in_1st ? number == tag::kJpegInterchangeFormat : is_link(number);
    if (!link && found->value != tag.value) fail("a value changed", number);
  }
}

std::uint32_t long_value(const ExifIfd& ifd, std::uint16_t number) {
  const ExifTag* found = ifd.find(number);
  std::uint32_t value = 0;
  if (found != nullptr && found->value.size() == sizeof value)
    std::memcpy(&value, found->value.data(), sizeof value);
  return value;
}

void check_round_trip(const ExifDocument& document, std::span<const std::uint8_t> block) {
  ExifDocument back;
  read_document(back, block);  // its TIFF checks fail: the image tags are gone
  same_tags(document.ifd0, back.ifd0, false);
  same_tags(document.exif, back.exif, false);
  same_tags(document.interop, back.interop, false);
  same_tags(document.gps, back.gps, false);
  if (!document.has_thumbnail()) {
    if (back.ifd1.present()) fail("a 1st IFD without a thumbnail", 0);
    return;
  }
  same_tags(document.ifd1, back.ifd1, true);
  const std::uint64_t at = long_value(back.ifd1, tag::kJpegInterchangeFormat);
  const std::size_t length = document.thumbnail.size();
  if (at + length != block.size() ||
      std::memcmp(block.data() + at, document.thumbnail.data(), length) != 0)
    fail("the thumbnail is not where its offset says", tag::kJpegInterchangeFormat);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ExifDocument document;
  if (read_document(document, std::span<const std::uint8_t>(data, size)) != code::kOk) return 0;
  const auto width = pixel_dimension(document.exif, tag::kPixelXDimension).value_or(1);
  const auto height = pixel_dimension(document.exif, tag::kPixelYDimension).value_or(1);
  std::size_t written = 0;
  if (written_size(document, written) != code::kOk) return 0;
  std::vector<std::uint8_t> block(written);
  if (write_document(document, block, width, height) == code::kOk) {
    check_round_trip(document, block);
    source_mark(block);
  }
  if (written > 0) {
    std::vector<std::uint8_t> short_block(written - 1);
    write_document(document, short_block, width, height);
  }
  return 0;
}
