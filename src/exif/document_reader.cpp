// The Exif document reader: a file is tried as TIFF first, then as JPEG with
// an APP1 "Exif" segment. Error policy: a bad entry (unknown type, count 0,
// overflowing size) is skipped; a directory that cannot be read ends the
// walk of the tree quietly, keeping what was read; a bad header, a bad
// segment structure or a failed TIFF check fails the read with its code.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <optional>

#include "exif/byte_reader.h"
#include "exif/exif_document.h"
#include "exif/exif_limits.h"

namespace zkimgset::exif {
namespace {

// Converts count values of a type from the file's order to the host's, in
// place, unit by unit.
void to_host_order(std::vector<std::uint8_t>& value, std::uint16_t type, ByteOrder order) {
  const std::uint32_t unit = swap_unit(type);
  if (order == host_order() || unit == 1) return;
  for (std::size_t at = 0; at + unit <= value.size(); at += unit)
    std::reverse(value.begin() + static_cast<std::ptrdiff_t>(at),
                 value.begin() + static_cast<std::ptrdiff_t>(at + unit));
}

// Reads the TIFF structure of one stream: its header and directories.
class TiffWalker {
 public:
  explicit TiffWalker(ExifFileStream& in) : in_(in) {}

  // The header; returns the 0th IFD offset.
  std::uint32_t read_header() {
    std::uint8_t mark[2];
    as_code(code::kNoByteOrderMark, [&] {
      in_.seek(0, SEEK_SET);
      in_.read(mark, 1, sizeof mark);
    });
    const std::uint16_t word = decode_u16(mark, ByteOrder::Big);
    enforce(word == kLittleEndianMark || word == kBigEndianMark, code::kNoByteOrderMark);
    order_ = word == kLittleEndianMark ? ByteOrder::Little : ByteOrder::Big;
    std::uint16_t magic = 0;
    as_code(code::kBadMagic, [&] { magic = read_u16(); });
    enforce(magic == kTiffMagic, code::kBadMagic);
    std::uint32_t first = 0;
    as_code(code::kNoIfdOffset, [&] { first = read_u32(); });
    size_ = static_cast<std::uint64_t>(in_.size());
    return first;
  }

  // Reads the directory at offset into ifd and returns its next-IFD offset.
  // Throws when the directory cannot be read; the entries read before the
  // failure stay.
  std::uint32_t read_ifd(std::uint64_t offset, ExifIfd& ifd) {
    in_.seek(static_cast<std::int64_t>(offset), SEEK_SET);
    const std::uint16_t count = read_u16();
    for (std::uint32_t i = 0; i < count; ++i) {
      in_.seek(static_cast<std::int64_t>(offset + kIfdCountBytes + kIfdEntryBytes * i), SEEK_SET);
      std::uint8_t raw[kIfdEntryBytes];
      in_.read(raw, 1, sizeof raw);
      read_entry(raw, ifd);
    }
    in_.seek(static_cast<std::int64_t>(offset + kIfdCountBytes + kIfdEntryBytes * count), SEEK_SET);
    return read_u32();
  }

  std::uint64_t size() const noexcept { return size_; }

 private:
  void read_entry(const std::uint8_t* raw, ExifIfd& ifd) {
    const ByteReader entry({raw, kIfdEntryBytes}, order_);
    const std::uint16_t number = *entry.u16(0);
    const std::uint16_t type = *entry.u16(2);
    const std::uint32_t count = *entry.u32(4);
    const std::uint32_t size = value_size(type, count);
    if (size == 0) return;  // code kEntryEmpty: the entry is skipped, the IFD goes on
    std::vector<std::uint8_t> value;
    if (size <= kInlineValueBytes) {
      const auto inline_bytes = *entry.bytes(8, size);
      value.assign(inline_bytes.begin(), inline_bytes.end());
    } else {
      const std::uint64_t at = *entry.u32(8);
      // Checked before allocating: a value past the end could not be read,
      // and a file may declare gigabytes.
      enforce(at <= size_ && size <= size_ - at, code::kReadFailed);
      enforce(size <= kMaxDocumentValueBytes - budget_used_, code::kReadFailed);
      budget_used_ += size;
      value.resize(size);
      in_.seek(static_cast<std::int64_t>(at), SEEK_SET);
      in_.read(value.data(), 1, size);
    }
    to_host_order(value, type, order_);
    enforce(ifd.add(number, type, count, value), code::kCannotSetTag);
  }

  std::uint16_t read_u16() {
    std::uint8_t bytes[2];
    in_.read(bytes, 1, sizeof bytes);
    return decode_u16(bytes, order_);
  }

  std::uint32_t read_u32() {
    std::uint8_t bytes[4];
    in_.read(bytes, 1, sizeof bytes);
    return decode_u32(bytes, order_);
  }

  ExifFileStream& in_;
  ByteOrder order_ = ByteOrder::Little;
  std::uint64_t size_ = 0;
  std::size_t budget_used_ = 0;
};

// A directory pointer's target, when the tag holds a number.
std::optional<std::uint32_t> pointer(const ExifIfd& ifd, std::uint16_t number) {
  const ExifTag* found = ifd.find(number);
  return found == nullptr ? std::nullopt : found->first_number();
}

// The 0th IFD and its Exif, interoperability and GPS directories, then the
// 1st IFD. Never fails: an unreadable directory ends its part of the walk
// and stays as far as it was read. The 1st IFD's own pointers are not
// followed: the Exif, GPS and interoperability directories belong to the
// 0th IFD.
void read_tree(TiffWalker& walker, std::uint32_t first, ExifDocument& document) {
  std::optional<std::uint32_t> next;
  try {
    next = walker.read_ifd(first, document.ifd0);
    if (const auto exif = pointer(document.ifd0, tag::kExifIfdPointer)) {
      walker.read_ifd(*exif, document.exif);
      if (const auto interop = pointer(document.exif, tag::kInteropIfdPointer))
        walker.read_ifd(*interop, document.interop);
    }
    if (const auto gps = pointer(document.ifd0, tag::kGpsIfdPointer))
      walker.read_ifd(*gps, document.gps);
  } catch (const ExifError&) {
  }
  if (next && *next != 0) {
    try {
      walker.read_ifd(*next, document.ifd1);
    } catch (const ExifError&) {
    }
  }
}

// The TIFF checks on the 0th IFD, in their order.
void check_tiff(const ExifIfd& ifd0) {
  enforce(pointer(ifd0, tag::kExifIfdPointer).has_value(), code::kTiffWithoutExif);
  struct Check {
    std::uint16_t number;
    bool (*accepts)(std::uint32_t);
  };
  static constexpr Check kChecks[] = {
      {tag::kImageWidth, [](std::uint32_t) { return true; }},
      {tag::kImageLength, [](std::uint32_t) { return true; }},
      {tag::kBitsPerSample, [](std::uint32_t) { return true; }},
      {tag::kCompression, [](std::uint32_t v) { return v == 1 || v == 6; }},
      {tag::kPhotometricInterpretation, [](std::uint32_t v) { return v == 2 || v == 6; }},
      {tag::kStripOffsets, [](std::uint32_t) { return true; }},
      {tag::kSamplesPerPixel, [](std::uint32_t v) { return v == 3; }},
      {tag::kRowsPerStrip, [](std::uint32_t v) { return v != 0; }},
  };
  Code failure = code::kTiffCheckFirst;
  for (const Check& check : kChecks) {
    const auto value = pointer(ifd0, check.number);
    enforce(value && check.accepts(*value), failure);
    ++failure;
  }
}

std::uint16_t read_marker_word(ExifFileStream& in) {
  std::uint8_t bytes[2];
  in.read(bytes, 1, sizeof bytes);
  return decode_u16(bytes, ByteOrder::Big);
}

// Stores every segment up to and including the start of scan. Marker words
// inside the loop are not checked for their leading 0xFF: every one is taken
// as a marker with a length, as the format's own scanner does.
void scan_segments(ExifFileStream& in, ExifDocument& document) {
  in.seek(0, SEEK_SET);
  std::uint16_t word = 0;
  as_code(code::kNoSoi, [&] { word = read_marker_word(in); });
  enforce(word == kMarkerSoi, code::kNoSoi);
  std::uint16_t marker = 0;
  as_code(code::kBadFirstMarker, [&] { marker = read_marker_word(in); });
  enforce(marker >= kMarkerFloor, code::kBadFirstMarker);
  while (marker != kMarkerEoi) {
    std::vector<std::uint8_t> body;
    as_code(code::kBadSegment, [&] {
      const std::uint16_t length = read_marker_word(in);
      enforce(length >= 2, code::kBadSegment);
      body.resize(length - 2u);
      // A length of 2 is an empty body (an empty comment, say): legal, and
      // stored like any other.
      if (!body.empty()) in.read(body.data(), 1, body.size());
    });
    // Every segment is read and checked; past the limit only the first
    // Exif candidate is still kept, as it is all a reading needs.
    if (document.segments.size() < kMaxJpegSegments ||
        (marker == kMarkerApp1 && document.segments.count(kMarkerApp1) == 0))
      document.segments.emplace(marker, std::move(body));
    if (marker == kMarkerSos) return;
    as_code(code::kNoMarkerAfterSegment, [&] { marker = read_marker_word(in); });
  }
}

bool names_exif(std::span<const std::uint8_t> body) {
  static constexpr char kName[] = "exif";
  if (body.size() < 4) return false;
  for (int i = 0; i < 4; ++i)
    if (std::tolower(body[static_cast<std::size_t>(i)]) != kName[i]) return false;
  return true;
}

void take_thumbnail(ExifDocument& document, std::span<const std::uint8_t> block) {
  const auto offset = pointer(document.ifd1, tag::kJpegInterchangeFormat);
  const auto length = pointer(document.ifd1, tag::kJpegInterchangeFormatLength);
  if (!offset || !length) return;
  const ByteReader reader(block, ByteOrder::Little);
  if (const auto bytes = reader.bytes(*offset, *length))
    document.thumbnail.assign(bytes->begin(), bytes->end());
}

Code read_jpeg(ExifFileStream& in, ExifDocument& document) {
  try {
    scan_segments(in, document);
    const auto app1 = document.segments.find(kMarkerApp1);
    enforce(app1 != document.segments.end(), code::kNoSoi);
    const std::span<const std::uint8_t> body = app1->second;
    enforce(names_exif(body) && body.size() >= kExifNameBytes, code::kNoExifName);
    const auto block = body.subspan(kExifNameBytes);
    ExifFileStream memory;
    memory.open_memory(block);
    TiffWalker walker(memory);
    read_tree(walker, walker.read_header(), document);
    take_thumbnail(document, block);
  } catch (const ExifError&) {
    return code::kNotTiffOrJpeg;
  }
  return pointer(document.ifd0, tag::kExifIfdPointer) ? code::kOk : code::kJpegWithoutExif;
}

Code read_open_stream(ExifDocument& document) {
  TiffWalker walker(document.stream);
  std::optional<std::uint32_t> first;
  try {
    first = walker.read_header();
  } catch (const ExifError&) {
    return read_jpeg(document.stream, document);
  }
  // A readable header makes the file a TIFF file, whatever else fails.
  read_tree(walker, *first, document);
  try {
    check_tiff(document.ifd0);
  } catch (const ExifError& error) {
    return error.code;
  }
  return code::kOk;
}

}  // namespace

Code read_document(ExifDocument& document, const char* path) {
  try {
    document.stream.open(path, "rb");
  } catch (const ExifError& error) {
    return error.code;
  }
  return read_open_stream(document);
}

Code read_document(ExifDocument& document, std::span<const std::uint8_t> file_bytes) {
  document.stream.open_memory(file_bytes);
  const Code result = read_open_stream(document);
  document.stream.close();  // the caller's bytes need not outlive the read
  return result;
}

}  // namespace zkimgset::exif
