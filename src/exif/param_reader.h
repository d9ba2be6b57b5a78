// The parameter reader: a light streaming reader that identifies a camera
// file as Exif JPEG or Exif TIFF, checks its image structure, and hands out
// the entries of its 0th and Exif IFDs with their values on request.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "exif/byte_reader.h"
#include "exif/exif_codes.h"
#include "exif/exif_stream.h"

namespace zkimgset::exif {

// One directory entry as the file holds it: the 4 value bytes are raw, in
// the file's byte order.
struct RawEntry {
  std::uint16_t tag = 0;
  std::uint16_t type = 0;
  std::uint32_t count = 0;
  std::array<std::uint8_t, 4> raw{};
};
using RawIfd = std::vector<RawEntry>;

// What identification found about the main image and the thumbnail.
enum class MainKind { Unknown = 0, Jpeg = 1, InterleavedRgb = 2, PlanarRgb = 3, YCbCr = 4 };
enum class ThumbnailKind { None = 0, Rgb = 1, PlanarRgb = 2, YCbCr = 3, Jpeg = 4 };

class ParamReader {
 public:
  // Opens a file "rb"; false when it cannot be opened.
  bool open(const char* path);
  // Reads a whole file's bytes in memory, which must outlive the reader.
  void open(std::span<const std::uint8_t> file_bytes);

  // Identifies the file, JPEG first, then TIFF: 0 or a parameter code.
  Code identify();

  // Copies ExifVersion's four bytes: 0 or 1000, 1100, 1203, 1205, 1206.
  Code read_exif_version(std::span<std::uint8_t> buffer) const;

  const RawIfd& ifd0() const noexcept { return ifd0_; }
  const RawIfd& exif() const noexcept { return exif_; }

  // Looks the tag up (its first entry) and, when that entry is of the given
  // type, copies its value into dest in host order, at most dest.size()
  // bytes; returns whether it copied. Throws ExifError when the value lies
  // past the end of the TIFF structure.
  bool copy_value(const RawIfd& ifd, std::uint16_t tag, std::uint16_t type,
                  std::span<std::uint8_t> dest);

  MainKind main_kind() const noexcept { return main_kind_; }
  ThumbnailKind thumbnail_kind() const noexcept { return thumbnail_kind_; }
  std::uint32_t thumbnail_length() const noexcept { return thumbnail_length_; }

 private:
  Code identify_jpeg();
  Code identify_tiff();
  Code read_structure(ExifFileStream& tiff);
  Code check_main_image();
  Code check_thumbnail();
  // The first value of an unsigned integer tag (BYTE, SHORT or LONG, from
  // the entry or its offset), read as a number; nothing for other types or
  // a value past the structure.
  std::optional<std::uint32_t> first_integer(const RawIfd& ifd, std::uint16_t tag);
  void reset();

  ExifFileStream file_;  // from the TIFF structure's start once identified
  ExifFileStream* tiff_ = nullptr;
  ByteOrder order_ = ByteOrder::Little;
  std::uint64_t tiff_size_ = 0;
  RawIfd ifd0_, exif_, ifd1_;
  bool has_ifd1_ = false;
  MainKind main_kind_ = MainKind::Unknown;
  ThumbnailKind thumbnail_kind_ = ThumbnailKind::None;
  std::uint32_t thumbnail_length_ = 0;
  std::uint16_t subsampling_[2] = {0, 0};
};

}  // namespace zkimgset::exif
