// An Exif document: the directories, thumbnail and JPEG segments of one
// camera file, read by the document reader, dumped as text, normalised and
// written out again as one TIFF byte stream by the writer.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "exif/exif_codes.h"
#include "exif/exif_ifd.h"
#include "exif/exif_stream.h"

namespace zkimgset::exif {

struct ExifDocument {
  ExifIfd ifd0;
  ExifIfd exif;
  ExifIfd gps;
  ExifIfd interop;
  ExifIfd ifd1;
  std::vector<std::uint8_t> thumbnail;  // empty: none
  // Every JPEG segment before the start of scan, by marker, in file order.
  std::multimap<std::uint16_t, std::vector<std::uint8_t>> segments;
  // The file the document was read from; closed with the document.
  ExifFileStream stream;

  bool has_thumbnail() const noexcept { return !thumbnail.empty(); }
};

// Reads an Exif TIFF or Exif JPEG file: 0 or a code of the reader's table.
// A failed read leaves whatever was read before the failure; callers do not
// use such a document.
Code read_document(ExifDocument& document, const char* path);
// The same over a whole file's bytes in memory.
Code read_document(ExifDocument& document, std::span<const std::uint8_t> file_bytes);

// Prints the 0th, Exif, GPS and interoperability directories as text: 0 or
// the code of the first failed print.
Code dump_document(const ExifDocument& document, ExifFileStream& out);

}  // namespace zkimgset::exif
