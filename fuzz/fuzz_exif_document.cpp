// Fuzzes the Exif document reader over a whole file's bytes in memory, and
// the text dump of whatever it read.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "exif/exif_document.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zkimgset::exif;
  ExifDocument document;
  read_document(document, std::span<const std::uint8_t>(data, size));
  std::vector<std::uint8_t> text(1 << 16);
  ExifFileStream out;
  out.open_memory(std::span<std::uint8_t>(text));
  dump_document(document, out);
  return 0;
}
