// TIFF field types and the in-memory directories of an Exif document:
// ExifTag (one tag with its value in host order) and ExifIfd (the tags of one
// directory, kept in ascending tag order, at most one per number).
#pragma once

#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace zkimgset::exif {

namespace tiff_type {
inline constexpr std::uint16_t kByte = 1;
inline constexpr std::uint16_t kAscii = 2;
inline constexpr std::uint16_t kShort = 3;
inline constexpr std::uint16_t kLong = 4;
inline constexpr std::uint16_t kRational = 5;
inline constexpr std::uint16_t kSByte = 6;
inline constexpr std::uint16_t kUndefined = 7;
inline constexpr std::uint16_t kSShort = 8;
inline constexpr std::uint16_t kSLong = 9;
inline constexpr std::uint16_t kSRational = 10;
inline constexpr std::uint16_t kFloat = 11;
inline constexpr std::uint16_t kDouble = 12;
}  // namespace tiff_type

// Bytes of one value of a type; 0 for type 0 and types above 12.
std::uint32_t type_size(std::uint16_t type) noexcept;

// Width of the units a value of this type is byte-swapped in: 1, 2 or 4.
// Rationals and doubles are two 32-bit halves, each converted by itself
// (for DOUBLE that is not how a big-endian double reads; kept on purpose,
// it is what the format's readers have always done).
std::uint32_t swap_unit(std::uint16_t type) noexcept;

// count x type size, or 0 for an unknown type, a count of 0, or a product
// that does not fit in 32 bits.
std::uint32_t value_size(std::uint16_t type, std::uint32_t count) noexcept;

struct ExifTag {
  std::uint16_t tag = 0;
  std::uint16_t type = 0;
  std::uint32_t count = 0;
  std::vector<std::uint8_t> value;  // count x type size bytes, host order

  // The first value as an unsigned number (BYTE, SHORT, LONG and their
  // signed forms); nothing for other types or an empty value.
  std::optional<std::uint32_t> first_number() const noexcept;
};

// Well-known tag numbers.
namespace tag {
inline constexpr std::uint16_t kImageWidth = 0x0100;
inline constexpr std::uint16_t kImageLength = 0x0101;
inline constexpr std::uint16_t kBitsPerSample = 0x0102;
inline constexpr std::uint16_t kCompression = 0x0103;
inline constexpr std::uint16_t kPhotometricInterpretation = 0x0106;
inline constexpr std::uint16_t kMake = 0x010F;
inline constexpr std::uint16_t kModel = 0x0110;
inline constexpr std::uint16_t kStripOffsets = 0x0111;
inline constexpr std::uint16_t kSamplesPerPixel = 0x0115;
inline constexpr std::uint16_t kRowsPerStrip = 0x0116;
inline constexpr std::uint16_t kStripByteCounts = 0x0117;
inline constexpr std::uint16_t kXResolution = 0x011A;
inline constexpr std::uint16_t kYResolution = 0x011B;
inline constexpr std::uint16_t kPlanarConfiguration = 0x011C;
inline constexpr std::uint16_t kResolutionUnit = 0x0128;
inline constexpr std::uint16_t kJpegInterchangeFormat = 0x0201;
inline constexpr std::uint16_t kJpegInterchangeFormatLength = 0x0202;
inline constexpr std::uint16_t kYCbCrSubSampling = 0x0212;
inline constexpr std::uint16_t kYCbCrPositioning = 0x0213;
inline constexpr std::uint16_t kExifIfdPointer = 0x8769;
inline constexpr std::uint16_t kGpsIfdPointer = 0x8825;
inline constexpr std::uint16_t kExifVersion = 0x9000;
inline constexpr std::uint16_t kDateTimeOriginal = 0x9003;
inline constexpr std::uint16_t kDateTimeDigitized = 0x9004;
inline constexpr std::uint16_t kComponentsConfiguration = 0x9101;
inline constexpr std::uint16_t kMakerNote = 0x927C;
inline constexpr std::uint16_t kFlashpixVersion = 0xA000;
inline constexpr std::uint16_t kColorSpace = 0xA001;
inline constexpr std::uint16_t kPixelXDimension = 0xA002;
inline constexpr std::uint16_t kPixelYDimension = 0xA003;
inline constexpr std::uint16_t kInteropIfdPointer = 0xA005;
inline constexpr std::uint16_t kSceneType = 0xA301;
inline constexpr std::uint16_t kInteropIndex = 0x0001;
inline constexpr std::uint16_t kInteropVersion = 0x0002;
}  // namespace tag

class ExifIfd {
 public:
  std::size_t size() const noexcept { return tags_.size(); }
  bool present() const noexcept { return !tags_.empty(); }
  // Tags in ascending tag order.
  auto begin() const noexcept { return tags_.begin(); }
  auto end() const noexcept { return tags_.end(); }
  const ExifTag& at(std::size_t position) const {
    return std::next(tags_.begin(), static_cast<std::ptrdiff_t>(position))->second;
  }
  const ExifTag* find(std::uint16_t number) const noexcept;
  ExifTag* find(std::uint16_t number) noexcept;
  // Adds a tag, replacing one with the same number. Refused (false) when
  // the value is not exactly count x type size bytes, or is empty, or when
  // a new tag would take the directory past 65535 entries.
  bool add(std::uint16_t number, std::uint16_t type, std::uint32_t count,
           std::span<const std::uint8_t> value);
  void remove(std::uint16_t number) noexcept;
  void clear() noexcept { tags_.clear(); }

 private:
  // A map, not a sorted vector: a file may list 65535 tags in descending
  // order, and inserting each at the front of a vector would take seconds.
  std::map<std::uint16_t, ExifTag> tags_;
};

}  // namespace zkimgset::exif
