// The parameter reader. Error policy: identification fails as a whole with
// one parameter code (a directory is read whole or counts as missing);
// value reads that pass the end of the TIFF structure throw, and the
// parameter stage treats that as a failed walk.
#include "exif/param_reader.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "exif/exif_ifd.h"
#include "exif/exif_limits.h"

namespace zkimgset::exif {
namespace {

namespace pc = param_code;

constexpr std::uint8_t kExifName[kExifNameBytes] = {'E', 'x', 'i', 'f', 0, 0};
constexpr std::uint16_t kPhotometricRgb = 2;
constexpr std::uint16_t kPhotometricYCbCr = 6;
constexpr std::uint16_t kPlanarChunky = 1;
constexpr std::uint16_t kPlanarSeparate = 2;

constexpr std::uint8_t kMarkerPrefix = 0xFF;
constexpr std::uint8_t kStuffedZero = 0x00;  // an 0xFF 0x00 pair is data, not a marker
constexpr std::uint8_t kMarkerTem = 0x01;
constexpr std::uint8_t kMarkerRst0 = 0xD0;
constexpr std::uint8_t kMarkerSoiCode = 0xD8;

std::uint16_t read_be16(ExifFileStream& in) {
  std::uint8_t bytes[2];
  in.read(bytes, 1, sizeof bytes);
  return decode_u16(bytes, ByteOrder::Big);
}

// The next marker code: skips anything up to an 0xFF and the fill bytes
// after it, as a JPEG decoder's marker layer does. Ends (throws) at the end
// of the file, so the loop is bounded by the file's length.
std::uint8_t next_marker(ExifFileStream& in) {
  std::uint8_t byte = 0;
  do in.read(&byte, 1, 1);
  while (byte != kMarkerPrefix);
  do in.read(&byte, 1, 1);
  while (byte == kMarkerPrefix);
  return byte;
}

// Markers that stand alone, without a length: TEM, RST0 to RST7, SOI.
bool stands_alone(std::uint8_t marker) {
  return marker == kMarkerTem || marker == kStuffedZero ||
         (marker >= kMarkerRst0 && marker <= kMarkerSoiCode);
}

const RawEntry* first_entry(const RawIfd& ifd, std::uint16_t tag) {
  for (const RawEntry& entry : ifd)
    if (entry.tag == tag) return &entry;
  return nullptr;
}

// Converts a value's bytes to host order element by element: SHORT and
// SSHORT as 16-bit units, LONG, SLONG and the rationals as 32-bit units,
// everything else as bytes.
void to_host(std::span<std::uint8_t> bytes, std::uint16_t type, ByteOrder order) {
  std::size_t unit = 1;
  if (type == tiff_type::kShort || type == tiff_type::kSShort) unit = 2;
  if (type == tiff_type::kLong || type == tiff_type::kSLong || type == tiff_type::kRational ||
      type == tiff_type::kSRational)
    unit = 4;
  if (unit == 1 || order == host_order()) return;
  for (std::size_t at = 0; at + unit <= bytes.size(); at += unit)
    for (std::size_t i = 0; i < unit / 2; ++i) std::swap(bytes[at + i], bytes[at + unit - 1 - i]);
}

}  // namespace

bool ParamReader::open(const char* path) {
  try {
    file_.open(path, "rb");
  } catch (const ExifError&) {
    return false;
  }
  return true;
}

void ParamReader::open(std::span<const std::uint8_t> file_bytes) { file_.open_memory(file_bytes); }

void ParamReader::reset() {
  file_.set_start(0);
  tiff_ = nullptr;
  ifd0_.clear();
  exif_.clear();
  ifd1_.clear();
  has_ifd1_ = false;
  main_kind_ = MainKind::Unknown;
  thumbnail_kind_ = ThumbnailKind::None;
  thumbnail_length_ = 0;
}

Code ParamReader::identify() {
  try {
    const Code jpeg = identify_jpeg();
    if (jpeg == pc::kNoExifIfd) return pc::kJpegIdentifyFailed;
    if (jpeg == code::kOk) {
      main_kind_ = MainKind::Jpeg;
    } else {
      reset();
      const Code tiff = identify_tiff();
      if (tiff == pc::kNoExifIfd) return pc::kTiffIdentifyFailed;
      if (tiff != code::kOk) return tiff;
      if (const Code bad = check_main_image()) return bad;
    }
    return check_thumbnail();
  } catch (const std::bad_alloc&) {
    return pc::kMemory;
  }
}

Code ParamReader::identify_jpeg() {
  try {
    file_.seek(0, SEEK_SET);
    if (read_be16(file_) != kMarkerSoi) return pc::kJpegIdentifyFailed;
    std::optional<std::int64_t> tiff_start;
    try {
      for (;;) {
        const std::uint8_t marker = next_marker(file_);
        if (marker == (kMarkerSos & 0xFF) || marker == (kMarkerEoi & 0xFF)) break;
        if (stands_alone(marker)) continue;
        const std::int64_t start = file_.tell();
        const std::uint16_t length = read_be16(file_);
        if (marker == (kMarkerApp1 & 0xFF) && !tiff_start && length >= kMinExifSegmentLength) {
          std::uint8_t name[kExifNameBytes];
          file_.read(name, 1, sizeof name);
          if (std::memcmp(name, kExifName, sizeof name) == 0)
            tiff_start = start + 2 + std::int64_t{kExifNameBytes};
        }
        file_.seek(start + length, SEEK_SET);
      }
    } catch (const ExifError&) {
      // A broken marker structure after the Exif segment ends the scan: the
      // segment is all this reader needs.
      if (!tiff_start) return pc::kJpegIdentifyFailed;
    }
    if (!tiff_start) return pc::kJpegIdentifyFailed;
    // The structure is read from the file, its offsets counted from its
    // start: a value may lie past the segment, as long as it is in the file.
    file_.set_start(*tiff_start);
    return read_structure(file_);
  } catch (const ExifError&) {
    return pc::kJpegIdentifyFailed;
  }
}

Code ParamReader::identify_tiff() {
  try {
    file_.set_start(0);
    return read_structure(file_);
  } catch (const ExifError&) {
    return pc::kTiffIdentifyFailed;
  }
}

// The header, the 0th IFD, its Exif IFD and the 1st IFD, each directory read
// whole or counted missing.
Code ParamReader::read_structure(ExifFileStream& tiff) {
  tiff_ = &tiff;
  tiff_size_ = static_cast<std::uint64_t>(tiff.size());
  auto read_ifd = [&](std::uint64_t offset, RawIfd& ifd) -> std::optional<std::uint32_t> {
    try {
      tiff.seek(static_cast<std::int64_t>(offset), SEEK_SET);
      std::uint8_t head[kIfdCountBytes];
      tiff.read(head, 1, sizeof head);
      const std::uint16_t count = decode_u16(head, order_);
      std::vector<std::uint8_t> table(kIfdEntryBytes * count + kIfdNextBytes);
      tiff.read(table.data(), 1, table.size());
      const ByteReader entries(table, order_);
      ifd.resize(count);
      for (std::uint16_t i = 0; i < count; ++i) {
        const std::size_t at = kIfdEntryBytes * i;
        ifd[i].tag = *entries.u16(at);
        ifd[i].type = *entries.u16(at + 2);
        ifd[i].count = *entries.u32(at + 4);
        std::memcpy(ifd[i].raw.data(), table.data() + at + 8, 4);
      }
      return *entries.u32(kIfdEntryBytes * count);
    } catch (const ExifError&) {
      ifd.clear();
      return std::nullopt;
    }
  };

  std::uint8_t header[kTiffHeaderBytes];
  try {
    tiff.seek(0, SEEK_SET);
    tiff.read(header, 1, sizeof header);
  } catch (const ExifError&) {
    return pc::kNo0thIfd;
  }
  const std::uint16_t mark = decode_u16(header, ByteOrder::Big);
  if (mark != kLittleEndianMark && mark != kBigEndianMark) return pc::kNo0thIfd;
  order_ = mark == kLittleEndianMark ? ByteOrder::Little : ByteOrder::Big;
  if (decode_u16(header + 2, order_) != kTiffMagic) return pc::kNo0thIfd;
  const auto next = read_ifd(decode_u32(header + 4, order_), ifd0_);
  if (!next) return pc::kNo0thIfd;
  const auto pointer = first_integer(ifd0_, tag::kExifIfdPointer);
  if (!pointer || !read_ifd(*pointer, exif_)) return pc::kNoExifIfd;
  if (*next != 0) has_ifd1_ = read_ifd(*next, ifd1_).has_value();
  return code::kOk;
}

namespace {

// The single SHORT of an entry, when it is SHORT with count 1.
std::optional<std::uint16_t> single_short(const RawEntry* entry, ByteOrder order) {
  if (entry == nullptr || entry->type != tiff_type::kShort || entry->count != 1)
    return std::nullopt;
  return decode_u16(entry->raw.data(), order);
}

std::optional<std::uint32_t> single_long(const RawEntry* entry, ByteOrder order) {
  if (entry == nullptr || entry->type != tiff_type::kLong || entry->count != 1) return std::nullopt;
  return decode_u32(entry->raw.data(), order);
}

}  // namespace

Code ParamReader::check_main_image() {
  const auto photometric = first_integer(ifd0_, tag::kPhotometricInterpretation);
  if (!photometric) return pc::kBadImageStructure;
  if (*photometric == kPhotometricRgb) {
    const RawEntry* planar = first_entry(ifd0_, tag::kPlanarConfiguration);
    if (planar == nullptr) {
      main_kind_ = MainKind::InterleavedRgb;
      return code::kOk;
    }
    const auto value = single_short(planar, order_);
    if (value == kPlanarChunky)
      main_kind_ = MainKind::InterleavedRgb;
    else if (value == kPlanarSeparate)
      main_kind_ = MainKind::PlanarRgb;
    else
      return pc::kBadImageStructure;
    return code::kOk;
  }
  if (*photometric == kPhotometricYCbCr) {
    const RawEntry* sampling = first_entry(ifd0_, tag::kYCbCrSubSampling);
    if (sampling == nullptr || sampling->type != tiff_type::kShort || sampling->count != 2)
      return pc::kBadImageStructure;
    subsampling_[0] = decode_u16(sampling->raw.data(), order_);
    subsampling_[1] = decode_u16(sampling->raw.data() + 2, order_);
    main_kind_ = MainKind::YCbCr;
    return code::kOk;
  }
  return pc::kBadImageStructure;
}

Code ParamReader::check_thumbnail() {
  if (!has_ifd1_) return code::kOk;
  if (single_long(first_entry(ifd1_, tag::kJpegInterchangeFormat), order_)) {
    thumbnail_kind_ = ThumbnailKind::Jpeg;
    if (const auto length =
            single_long(first_entry(ifd1_, tag::kJpegInterchangeFormatLength), order_)) {
      thumbnail_length_ = *length;
      if (*length >= kMaxThumbnailBytes) return pc::kThumbnailTooLong;
    }
    return code::kOk;
  }
  const auto photometric =
      single_short(first_entry(ifd1_, tag::kPhotometricInterpretation), order_);
  if (!photometric) return code::kOk;
  if (*photometric == kPhotometricRgb) {
    thumbnail_kind_ = ThumbnailKind::Rgb;
    if (const RawEntry* planar = first_entry(ifd1_, tag::kPlanarConfiguration)) {
      const auto value = single_short(planar, order_);
      if (!value) return pc::kBadImageStructure;
      if (*value == kPlanarSeparate) thumbnail_kind_ = ThumbnailKind::PlanarRgb;
    }
    return code::kOk;
  }
  if (*photometric == kPhotometricYCbCr) {
    thumbnail_kind_ = ThumbnailKind::YCbCr;
    return code::kOk;
  }
  return pc::kBadImageStructure;
}

std::optional<std::uint32_t> ParamReader::first_integer(const RawIfd& ifd, std::uint16_t tag) {
  const RawEntry* entry = first_entry(ifd, tag);
  if (entry == nullptr) return std::nullopt;
  const std::size_t unit = entry->type == tiff_type::kByte    ? 1
                           : entry->type == tiff_type::kShort ? 2
                           : entry->type == tiff_type::kLong  ? 4
                                                              : 0;
  std::uint8_t value[4] = {};
  try {
    if (unit == 0 || !copy_value(ifd, tag, entry->type, std::span(value, unit)))
      return std::nullopt;
  } catch (const ExifError&) {
    return std::nullopt;
  }
  if (unit == 1) return value[0];
  std::uint16_t short_value = 0;
  std::uint32_t long_value = 0;
  std::memcpy(unit == 2 ? static_cast<void*>(&short_value) : &long_value, value, unit);
  return unit == 2 ? short_value : long_value;
}

Code ParamReader::read_exif_version(std::span<std::uint8_t> buffer) const {
  if (buffer.size() < kExifVersionBytes) return pc::kVersionBufferSmall;
  if (exif_.empty()) return pc::kNoExifIfd;
  const RawEntry* version = first_entry(exif_, tag::kExifVersion);
  if (version == nullptr) return pc::kTagMissing;
  if (version->type != tiff_type::kUndefined) return pc::kWrongType;
  if (version->count != kExifVersionBytes) return pc::kWrongCount;
  std::memcpy(buffer.data(), version->raw.data(), kExifVersionBytes);
  return code::kOk;
}

bool ParamReader::copy_value(const RawIfd& ifd, std::uint16_t tag, std::uint16_t type,
                             std::span<std::uint8_t> dest) {
  const RawEntry* entry = first_entry(ifd, tag);
  if (entry == nullptr || entry->type != type) return false;
  const std::uint32_t size = value_size(entry->type, entry->count);
  const std::size_t copied = size < dest.size() ? size : dest.size();
  if (size <= kInlineValueBytes) {
    std::memcpy(dest.data(), entry->raw.data(), copied);
  } else {
    // The whole value must lie in the structure, as a reader that copied all
    // of it would need; only what fits the field is copied.
    const std::uint64_t at = decode_u32(entry->raw.data(), order_);
    enforce(tiff_ != nullptr && at <= tiff_size_ && size <= tiff_size_ - at, code::kReadFailed);
    tiff_->seek(static_cast<std::int64_t>(at), SEEK_SET);
    tiff_->read(dest.data(), 1, copied);
  }
  to_host(dest.first(copied), entry->type, order_);
  return copied != 0;
}

}  // namespace zkimgset::exif
