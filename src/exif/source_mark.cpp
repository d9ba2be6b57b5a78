// The source-mark check over a TIFF byte stream in memory: SceneType 3, and
// the maker note named "KALDREXA" with its source keyword and frame check
// value. Error policy: nothing fails; whatever cannot be read in the block
// is absent, and an unreadable 0th IFD gives the answer 0.
#include "exif/source_mark.h"

#include <cstring>
#include <optional>
#include <vector>

#include "exif/byte_reader.h"
#include "exif/exif_ifd.h"
#include "exif/exif_limits.h"

namespace zkimgset::exif {
namespace {

constexpr std::uint8_t kPreparedSceneType = 3;  // outside the one value Exif defines
constexpr std::uint8_t kDefaultSceneType = 1;
constexpr char kMakerName[] = "KALDREXA";
constexpr std::size_t kMakerNameBytes = 8;
constexpr std::size_t kMakerIfdOffsetField = 8;
constexpr std::uint16_t kKeywordTag = 0x8000;
constexpr std::uint16_t kFrameCheckTag = 0x8021;
constexpr std::uint16_t kFrameCheckDefault = 1;
constexpr std::uint16_t kFrameCheckPrepared = 3;
// From this many maker-note entries on, a keyword match also needs the
// frame check value.
constexpr std::uint16_t kEntriesNeedingFrameCheck = 8;
constexpr std::uint32_t kInlineKeywordBelow = 5;
// The source names, compared in this order, exact and whole.
constexpr char kSourceFormatKeywords[9][10] = {"135_C", "135_H", "135_P", "APS_C",   "APS_H",
                                               "APS_P", "DSC",   "UNDEF", "KALDREXA"};

struct Entry {
  std::uint16_t type;
  std::uint32_t count;
  std::span<const std::uint8_t> raw;  // the 4 value bytes
};

// The entries of the directory at offset, as far as they lie in the block.
struct Directory {
  std::uint64_t at = 0;
  std::uint16_t count = 0;
  bool readable = false;
};

Directory directory_at(const ByteReader& reader, std::uint64_t offset) {
  const auto count = reader.u16(offset);
  if (!count) return {};
  return {offset, *count, true};
}

// The first entry with the tag in a directory; entries outside the block
// end the search.
std::optional<Entry> find_in(const ByteReader& reader, const Directory& dir, std::uint16_t tag) {
  if (!dir.readable) return std::nullopt;
  for (std::uint32_t i = 0; i < dir.count; ++i) {
    const std::uint64_t at = dir.at + kIfdCountBytes + kIfdEntryBytes * i;
    const auto entry = reader.bytes(at, kIfdEntryBytes);
    if (!entry) return std::nullopt;
    if (decode_u16(entry->data(), reader.order()) != tag) continue;
    return Entry{decode_u16(entry->data() + 2, reader.order()),
                 decode_u32(entry->data() + 4, reader.order()), entry->subspan(8, 4)};
  }
  return std::nullopt;
}

}  // namespace

int source_mark(std::span<const std::uint8_t> block) {
  if (block.size() < 2) return 0;
  const std::uint16_t mark = decode_u16(block.data(), ByteOrder::Big);
  if (mark != kLittleEndianMark && mark != kBigEndianMark) return 0;
  const ByteReader reader(block, mark == kLittleEndianMark ? ByteOrder::Little : ByteOrder::Big);
  const auto magic = reader.u16(2);
  const auto first = reader.u32(4);
  if (!magic || *magic != kTiffMagic || !first || *first == 0) return 0;

  const Directory ifd0 = directory_at(reader, *first);
  if (!ifd0.readable) return 0;
  Directory ifd1;
  if (const auto next = reader.u32(*first + kIfdCountBytes + kIfdEntryBytes * ifd0.count);
      next && *next != 0)
    ifd1 = directory_at(reader, *next);
  Directory exif;
  auto find = [&](std::uint16_t tag) -> std::optional<Entry> {
    for (const Directory* dir :
         {&ifd0, static_cast<const Directory*>(&ifd1), static_cast<const Directory*>(&exif)})
      if (auto entry = find_in(reader, *dir, tag)) return entry;
    return std::nullopt;
  };
  if (const auto pointer = find(tag::kExifIfdPointer))
    exif = directory_at(reader, decode_u32(pointer->raw.data(), reader.order()));

  const auto scene = find(tag::kSceneType);
  const std::uint8_t scene_type = scene ? scene->raw[0] : kDefaultSceneType;
  const int by_scene = scene_type == kPreparedSceneType ? 1 : 0;

  // The maker note counts only under its name; everything in it is
  // little-endian whatever the block's order.
  const auto note_entry = find(tag::kMakerNote);
  if (!note_entry) return by_scene;
  const std::uint64_t note = decode_u32(note_entry->raw.data(), reader.order());
  const auto name = reader.bytes(note, kMakerNameBytes);
  if (!name || std::memcmp(name->data(), kMakerName, kMakerNameBytes) != 0) return by_scene;
  const ByteReader little(block, ByteOrder::Little);
  const auto note_ifd_offset = little.u16(note + kMakerIfdOffsetField);
  if (!note_ifd_offset) return by_scene;
  const Directory note_ifd = directory_at(little, note + *note_ifd_offset);

  char keyword[kTextBufferBytes] = {};
  if (const auto entry = find_in(little, note_ifd, kKeywordTag)) {
    // Bounded to 259 characters and the NUL, and to the block.
    const std::size_t length = entry->count < kTextMaxChars ? entry->count : kTextMaxChars;
    std::optional<std::span<const std::uint8_t>> text;
    if (entry->count < kInlineKeywordBelow)
      text = entry->raw.first(length);
    else
      text = little.bytes(note + decode_u32(entry->raw.data(), ByteOrder::Little), length);
    if (text) std::memcpy(keyword, text->data(), text->size());
  }
  const auto frame_entry = find_in(little, note_ifd, kFrameCheckTag);
  const std::uint16_t frame_check =
      frame_entry ? decode_u16(frame_entry->raw.data(), ByteOrder::Little) : kFrameCheckDefault;

  for (const char* source : kSourceFormatKeywords) {
    if (std::strcmp(keyword, source) != 0) continue;
    if (note_ifd.count < kEntriesNeedingFrameCheck) return 1;
    return frame_check == kFrameCheckPrepared ? 1 : 0;
  }
  return by_scene;
}

}  // namespace zkimgset::exif
