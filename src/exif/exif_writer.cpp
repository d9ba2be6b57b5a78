// The Exif writer: normalisation, the sizes of the directories and the
// layout of the stream (header, 0th IFD tree, 1st IFD, thumbnail). Error
// policy: every failure stops the write and names the step that failed.
#include "exif/exif_writer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "exif/byte_reader.h"
#include "exif/exif_limits.h"

namespace zkimgset::exif {
namespace {

enum class Group { Always0th, AlwaysExif, Interop, Gps, Thumbnail };
enum class Target { Ifd0, Exif, Interop, Ifd1 };

using DefaultValue = std::array<std::uint8_t, 20>;

// One default tag. For numbers the value holds them in host order; texts are
// padded with blanks. A LONG of blanks is a placeholder that the writer
// overwrites (the pointer and dimension tags): it makes the tag exist before
// the sizes are computed, so filling in the real offsets changes no size.
struct ExifDefaultTag {
  Group group;
  Target target;
  std::uint16_t number;
  std::uint16_t type;
  std::uint32_t count;
  DefaultValue value;
};

// Up to two 32-bit numbers, in the host's order (little-endian: the public
// header refuses big-endian hosts).
constexpr DefaultValue numbers(std::uint32_t first, std::uint32_t second = 0) {
  DefaultValue value{};
  for (int i = 0; i < 4; ++i) {
    value[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(first >> (8 * i));
    value[static_cast<std::size_t>(4 + i)] = static_cast<std::uint8_t>(second >> (8 * i));
  }
  return value;
}

// A text padded with blanks to 19 characters and a NUL; "" gives all blanks.
constexpr DefaultValue text(const char* chars) {
  DefaultValue value{};
  std::size_t i = 0;
  for (; chars[i] != '\0'; ++i) value[i] = static_cast<std::uint8_t>(chars[i]);
  for (; i < value.size() - 1; ++i) value[i] = ' ';
  return value;
}

constexpr DefaultValue kPlaceholder = text("");
// 720000/10000 is 72 dots per inch, kept unreduced on purpose: it is the
// fraction the format's own writers have always stored.
constexpr DefaultValue kResolution = numbers(720000, 10000);
constexpr std::uint16_t kInchUnit = 2;
constexpr std::uint16_t kCentredPositioning = 1;
constexpr std::uint16_t kSRgb = 1;
constexpr std::uint16_t kJpegCompression = 6;
// Y, Cb, Cr, then nothing.
constexpr DefaultValue kComponents = {1, 2, 3, 0};
// The other texts are blank-padded, but InteroperabilityIndex's count of 4
// leaves room for "R98" and its NUL only: the NUL is written, so the text
// stays a proper ASCII value.
constexpr DefaultValue kR98 = {'R', '9', '8', '\0'};

// Applied in this order. The dates are UNDEFINED rather than ASCII, and
// Make, Model and the dates are added only when the file already has an
// interoperability IFD: both kept on purpose.
constexpr ExifDefaultTag kDefaults[] = {
    {Group::Always0th, Target::Ifd0, tag::kXResolution, tiff_type::kRational, 1, kResolution},
    {Group::Always0th, Target::Ifd0, tag::kYResolution, tiff_type::kRational, 1, kResolution},
    {Group::Always0th, Target::Ifd0, tag::kResolutionUnit, tiff_type::kShort, 1,
     numbers(kInchUnit)},
    {Group::Always0th, Target::Ifd0, tag::kYCbCrPositioning, tiff_type::kShort, 1,
     numbers(kCentredPositioning)},
    {Group::Always0th, Target::Ifd0, tag::kExifIfdPointer, tiff_type::kLong, 1, kPlaceholder},
    {Group::AlwaysExif, Target::Exif, tag::kExifVersion, tiff_type::kUndefined, 4, text("0210")},
    {Group::AlwaysExif, Target::Exif, tag::kComponentsConfiguration, tiff_type::kUndefined, 4,
     kComponents},
    {Group::AlwaysExif, Target::Exif, tag::kFlashpixVersion, tiff_type::kUndefined, 4,
     text("0100")},
    {Group::AlwaysExif, Target::Exif, tag::kColorSpace, tiff_type::kShort, 1, numbers(kSRgb)},
    {Group::AlwaysExif, Target::Exif, tag::kPixelXDimension, tiff_type::kLong, 1, kPlaceholder},
    {Group::AlwaysExif, Target::Exif, tag::kPixelYDimension, tiff_type::kLong, 1, kPlaceholder},
    {Group::Interop, Target::Interop, tag::kInteropIndex, tiff_type::kAscii, 4, kR98},
    {Group::Interop, Target::Interop, tag::kInteropVersion, tiff_type::kUndefined, 4, text("0100")},
    {Group::Interop, Target::Ifd0, tag::kMake, tiff_type::kAscii, 20, text("")},
    {Group::Interop, Target::Ifd0, tag::kModel, tiff_type::kAscii, 20, text("")},
    {Group::Interop, Target::Exif, tag::kDateTimeOriginal, tiff_type::kUndefined, 20, text("")},
    {Group::Interop, Target::Exif, tag::kDateTimeDigitized, tiff_type::kUndefined, 20, text("")},
    {Group::Interop, Target::Exif, tag::kInteropIfdPointer, tiff_type::kLong, 1, kPlaceholder},
    {Group::Gps, Target::Ifd0, tag::kGpsIfdPointer, tiff_type::kLong, 1, numbers(0)},
    {Group::Thumbnail, Target::Ifd1, tag::kCompression, tiff_type::kShort, 1,
     numbers(kJpegCompression)},
    {Group::Thumbnail, Target::Ifd1, tag::kXResolution, tiff_type::kRational, 1, kResolution},
    {Group::Thumbnail, Target::Ifd1, tag::kYResolution, tiff_type::kRational, 1, kResolution},
    {Group::Thumbnail, Target::Ifd1, tag::kResolutionUnit, tiff_type::kShort, 1,
     numbers(kInchUnit)},
    {Group::Thumbnail, Target::Ifd1, tag::kJpegInterchangeFormat, tiff_type::kLong, 1,
     kPlaceholder},
    {Group::Thumbnail, Target::Ifd1, tag::kJpegInterchangeFormatLength, tiff_type::kLong, 1,
     kPlaceholder},
};

// The tags that describe the main image's own encoding; the 1st IFD keeps
// Compression and its thumbnail pointers.
constexpr std::uint16_t kRemovedFrom0th[] = {tag::kImageWidth,
                                             tag::kImageLength,
                                             tag::kBitsPerSample,
                                             tag::kCompression,
                                             tag::kPhotometricInterpretation,
                                             tag::kStripOffsets,
                                             tag::kSamplesPerPixel,
                                             tag::kRowsPerStrip,
                                             tag::kStripByteCounts,
                                             tag::kPlanarConfiguration,
                                             tag::kJpegInterchangeFormat,
                                             tag::kJpegInterchangeFormatLength,
                                             tag::kYCbCrSubSampling};
constexpr std::uint16_t kRemovedFrom1st[] = {
    tag::kImageWidth,          tag::kImageLength,
    tag::kBitsPerSample,       tag::kPhotometricInterpretation,
    tag::kStripOffsets,        tag::kSamplesPerPixel,
    tag::kRowsPerStrip,        tag::kStripByteCounts,
    tag::kPlanarConfiguration, tag::kYCbCrSubSampling};

ExifIfd& target_ifd(ExifDocument& document, Target target) {
  switch (target) {
    case Target::Ifd0:
      return document.ifd0;
    case Target::Exif:
      return document.exif;
    case Target::Interop:
      return document.interop;
    default:
      return document.ifd1;
  }
}

bool group_applies(const ExifDocument& document, Group group) {
  switch (group) {
    case Group::Interop:
      return document.interop.present();
    case Group::Gps:
      return document.gps.present();
    case Group::Thumbnail:
      return document.has_thumbnail();
    default:
      return true;
  }
}

std::uint64_t even(std::uint64_t size) { return size + (size & 1); }

// 12 x N + 6 plus the even-rounded values longer than 4 bytes; 0 when empty.
std::uint64_t ifd_size(const ExifIfd& ifd) {
  if (!ifd.present()) return 0;
  std::uint64_t size = kIfdEntryBytes * ifd.size() + kIfdCountBytes + kIfdNextBytes;
  for (const auto& [number, tag] : ifd)
    if (tag.value.size() > kInlineValueBytes) size += even(tag.value.size());
  return size;
}

void set_long(ExifIfd& ifd, std::uint16_t number, std::uint64_t value) {
  const auto word = static_cast<std::uint32_t>(value);
  std::uint8_t bytes[4];
  std::memcpy(bytes, &word, sizeof bytes);
  enforce(ifd.add(number, tiff_type::kLong, 1, bytes), code::kCannotSetTag);
}

void write_ifd(ExifFileStream& out, const ExifIfd& ifd, std::uint64_t start, std::uint64_t next) {
  if (!ifd.present()) return;
  const auto count = static_cast<std::uint16_t>(ifd.size());
  out.seek(static_cast<std::int64_t>(start), SEEK_SET);
  out.write(&count, sizeof count, 1);
  std::uint64_t value_area = start + kIfdEntryBytes * count + kIfdCountBytes + kIfdNextBytes;
  std::uint64_t at = start + kIfdCountBytes;
  for (const auto& entry : ifd) {
    const ExifTag& tag = entry.second;  // a named reference: lambdas may not capture bindings
    as_code(code::kEntryWriteFailed, [&] {
      out.seek(static_cast<std::int64_t>(at), SEEK_SET);
      out.write(&tag.tag, sizeof tag.tag, 1);
      out.write(&tag.type, sizeof tag.type, 1);
      out.write(&tag.count, sizeof tag.count, 1);
      std::uint8_t field[kInlineValueBytes] = {};
      if (tag.value.size() <= kInlineValueBytes) {
        std::memcpy(field, tag.value.data(), tag.value.size());
        out.write(field, 1, sizeof field);
        return;
      }
      const auto offset = static_cast<std::uint32_t>(value_area);
      out.write(&offset, sizeof offset, 1);
      out.seek(static_cast<std::int64_t>(value_area), SEEK_SET);
      out.write(tag.value.data(), 1, tag.value.size());
      if (tag.value.size() & 1) out.write(field, 1, 1);
      value_area += even(tag.value.size());
    });
    at += kIfdEntryBytes;
  }
  const auto next_word = static_cast<std::uint32_t>(next);
  out.seek(static_cast<std::int64_t>(at), SEEK_SET);
  out.write(&next_word, sizeof next_word, 1);
}

// The tree of ifd: ifd at start, then the Exif, interoperability and GPS
// directories, each where the previous one ends. Returns the end offset.
std::uint64_t write_tree(ExifFileStream& out, ExifIfd& ifd, ExifIfd& exif, ExifIfd& interop,
                         ExifIfd& gps, std::uint64_t start, std::uint64_t next) {
  const std::uint64_t exif_at = start + ifd_size(ifd);
  const std::uint64_t interop_at = exif_at + ifd_size(exif);
  const std::uint64_t gps_at = interop_at + ifd_size(interop);
  const std::uint64_t end = gps_at + ifd_size(gps);
  if (exif.present()) set_long(ifd, tag::kExifIfdPointer, exif_at);
  if (gps.present()) set_long(ifd, tag::kGpsIfdPointer, gps_at);
  if (interop.present()) set_long(exif, tag::kInteropIfdPointer, interop_at);
  write_ifd(out, ifd, start, next);
  write_ifd(out, exif, exif_at, 0);
  write_ifd(out, interop, interop_at, 0);
  write_ifd(out, gps, gps_at, 0);
  return end;
}

// A pointer tag exists exactly when the directory it points at does: as a
// placeholder until the layout is known. A pointer to a directory that is
// empty or could not be read is dropped, so it never points at stray bytes.
void settle_pointer(ExifIfd& ifd, std::uint16_t number, const ExifIfd& target) {
  if (target.present())
    set_long(ifd, number, 0);
  else
    ifd.remove(number);
}

// Every tag whose value the writer fills in becomes an inline LONG before
// any size is computed, whatever form the file gave it (a LONG of count 2
// lies out of line), so the sizes computed are the sizes written.
Code settle_filled_tags(ExifDocument& d) {
  try {
    const ExifIfd none;  // the 1st IFD's tree has no directories of its own
    settle_pointer(d.ifd0, tag::kExifIfdPointer, d.exif);
    settle_pointer(d.ifd0, tag::kGpsIfdPointer, d.gps);
    settle_pointer(d.exif, tag::kInteropIfdPointer, d.interop);
    settle_pointer(d.ifd1, tag::kExifIfdPointer, none);
    settle_pointer(d.ifd1, tag::kGpsIfdPointer, none);
    set_long(d.exif, tag::kPixelXDimension, 0);
    set_long(d.exif, tag::kPixelYDimension, 0);
    if (d.has_thumbnail()) {
      set_long(d.ifd1, tag::kJpegInterchangeFormat, 0);
      set_long(d.ifd1, tag::kJpegInterchangeFormatLength, 0);
    }
  } catch (const ExifError& error) {
    return error.code;
  }
  return code::kOk;
}

// Normalised and settled: the structure that is sized and written.
Code prepare(ExifDocument& document) {
  if (const Code failed = normalise(document)) return failed;
  return settle_filled_tags(document);
}

std::uint64_t tree_size(const ExifDocument& d) {
  return ifd_size(d.ifd0) + ifd_size(d.exif) + ifd_size(d.interop) + ifd_size(d.gps);
}

}  // namespace

Code normalise(ExifDocument& document) {
  for (const std::uint16_t number : kRemovedFrom0th) document.ifd0.remove(number);
  if (document.has_thumbnail())
    for (const std::uint16_t number : kRemovedFrom1st) document.ifd1.remove(number);
  for (const ExifDefaultTag& entry : kDefaults) {
    if (!group_applies(document, entry.group)) continue;
    ExifIfd& ifd = target_ifd(document, entry.target);
    if (ifd.find(entry.number) != nullptr) continue;
    const std::span<const std::uint8_t> value(entry.value.data(),
                                              value_size(entry.type, entry.count));
    if (!ifd.add(entry.number, entry.type, entry.count, value)) return code::kCannotSetTag;
  }
  return code::kOk;
}

Code written_size(ExifDocument& document, std::size_t& size) {
  if (const Code failed = prepare(document)) return failed;
  std::uint64_t total = kTiffHeaderBytes + tree_size(document);
  if (document.has_thumbnail()) total += ifd_size(document.ifd1) + document.thumbnail.size();
  size = static_cast<std::size_t>(total);
  return code::kOk;
}

Code write_document(ExifDocument& document, std::span<std::uint8_t> block, std::uint32_t width,
                    std::uint32_t height) {
  ExifFileStream out;
  out.open_memory(block);
  try {
    enforce(prepare(document) == code::kOk, code::kCannotSetTag);
    enforce(document.ifd0.present() && document.exif.present(), code::kEmptyIfd);
    set_long(document.exif, tag::kPixelXDimension, width);
    set_long(document.exif, tag::kPixelYDimension, height);
    const std::uint64_t ifd1_at = kTiffHeaderBytes + tree_size(document);
    const bool thumbnail = document.has_thumbnail();
    if (thumbnail) {
      set_long(document.ifd1, tag::kJpegInterchangeFormat, ifd1_at + ifd_size(document.ifd1));
      set_long(document.ifd1, tag::kJpegInterchangeFormatLength, document.thumbnail.size());
    }
    // The host's own order, numbers unswapped: "II" on a little-endian host.
    const std::uint16_t mark =
        host_order() == ByteOrder::Little ? kLittleEndianMark : kBigEndianMark;
    const std::uint16_t magic = kTiffMagic;
    const std::uint32_t first = kTiffHeaderBytes;
    as_code(code::kMarkWriteFailed, [&] { out.write(&mark, sizeof mark, 1); });
    as_code(code::kMagicWriteFailed, [&] { out.write(&magic, sizeof magic, 1); });
    as_code(code::kOffsetWriteFailed, [&] { out.write(&first, sizeof first, 1); });
    as_code(code::kIfd0WriteFailed, [&] {
      write_tree(out, document.ifd0, document.exif, document.interop, document.gps,
                 kTiffHeaderBytes, thumbnail ? ifd1_at : 0);
    });
    if (thumbnail) {
      ExifIfd none;
      std::uint64_t end = 0;
      as_code(code::kIfd1WriteFailed,
              [&] { end = write_tree(out, document.ifd1, none, none, none, ifd1_at, 0); });
      as_code(code::kThumbnailWriteFailed, [&] {
        out.seek(static_cast<std::int64_t>(end), SEEK_SET);
        out.write(document.thumbnail.data(), 1, document.thumbnail.size());
      });
    }
  } catch (const ExifError& error) {
    return error.code;
  }
  return code::kOk;
}

std::optional<std::uint32_t> pixel_dimension(const ExifIfd& exif, std::uint16_t number) {
  const ExifTag* found = exif.find(number);
  if (found == nullptr) return std::nullopt;
  // The low three bytes of the value into a zeroed word: on a little-endian
  // host those are its first three bytes. Dimensions above 16,777,215 wrap.
  std::uint32_t value = 0;
  std::memcpy(&value, found->value.data(), std::min(found->value.size(), kPixelDimensionBytes));
  return value & kPixelDimensionMask;
}

}  // namespace zkimgset::exif
