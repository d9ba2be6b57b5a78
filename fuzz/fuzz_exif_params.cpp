// Fuzzes the parameter reader: identification, ExifVersion and the copy of
// every entry's value into a small field, as the parameter stage does.
#include <cstddef>
#include <cstdint>
#include <span>

#include "exif/param_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zkimgset::exif;
  ParamReader reader;
  reader.open(std::span<const std::uint8_t>(data, size));
  if (reader.identify() != code::kOk) return 0;
  std::uint8_t field[260];
  (void)reader.read_exif_version(field);
  try {
    for (const RawIfd* ifd : {&reader.exif(), &reader.ifd0()})
      for (const RawEntry& entry : *ifd)
        reader.copy_value(*ifd, entry.tag, entry.type, {field, entry.tag % 2 ? 8u : 260u});
  } catch (const ExifError&) {
  }
  return 0;
}
