#include "files/tiff_directory.h"

#include <algorithm>
#include <utility>

#include "core/tool_limits.h"

namespace zkcli {
namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kEntryBytes = 12;
constexpr std::size_t kInlineBytes = 4;
constexpr std::uint16_t kInteropPointer = 0xA005;
constexpr std::uint16_t kExifPointer = 0x8769, kGpsPointer = 0x8825;
constexpr std::uint16_t kOrientation = 0x0112;
constexpr std::uint16_t kTypeAscii = 2, kTypeShort = 3;
// The descriptive texts of a first directory: ImageDescription, Make,
// Model, Software, DateTime, Artist, HostComputer, Copyright.
constexpr std::uint16_t kTextTags[] = {0x010E, 0x010F, 0x0110, 0x0131,
                                       0x0132, 0x013B, 0x013C, 0x8298};
constexpr std::uint16_t kTypeLong = 4, kTypeIfd = 13;

// Bytes of one value of each TIFF type (1 BYTE ... 13 IFD); 0 for others.
std::size_t type_bytes(std::uint16_t type) {
  static constexpr std::size_t kBytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
  return type < std::size(kBytes) ? kBytes[type] : 0;
}

struct Reader {
  std::string_view bytes;
  ByteOrder order;
  bool has(std::uint64_t at, std::uint64_t n) const {
    return at <= bytes.size() && n <= bytes.size() - at;
  }
  std::uint32_t u(std::uint64_t at, int n) const {
    std::uint32_t v = 0;
    for (int i = 0; i < n; ++i) {
      const auto b = static_cast<unsigned char>(bytes[at + static_cast<std::uint64_t>(i)]);
      v = order == ByteOrder::Big ? v << 8 | b : v | std::uint32_t(b) << (8 * i);
    }
    return v;
  }
};

void put(std::string& out, std::size_t at, std::uint32_t value, int n, ByteOrder order) {
  for (int i = 0; i < n; ++i) {
    const int shift = order == ByteOrder::Big ? 8 * (n - 1 - i) : 8 * i;
    out[at + static_cast<std::size_t>(i)] = static_cast<char>((value >> shift) & 0xFF);
  }
}

std::unique_ptr<RawIfd> read_at(const Reader& r, std::uint64_t offset, int depth) {
  if (depth > kMaxCopiedIfdDepth || !r.has(offset, 2)) return nullptr;
  const std::uint32_t count = r.u(offset, 2);
  if (count > kMaxCopiedIfdEntries || !r.has(offset + 2, std::uint64_t(count) * kEntryBytes))
    return nullptr;
  auto ifd = std::make_unique<RawIfd>();
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint64_t at = offset + 2 + std::uint64_t(i) * kEntryBytes;
    RawIfd::Entry e;
    e.tag = static_cast<std::uint16_t>(r.u(at, 2));
    e.type = static_cast<std::uint16_t>(r.u(at + 2, 2));
    e.count = r.u(at + 4, 4);
    const std::uint64_t size = type_bytes(e.type) * std::uint64_t(e.count);
    if (type_bytes(e.type) == 0) continue;  // a type no reader knows: left out
    const std::uint64_t value_at = size <= kInlineBytes ? at + 8 : r.u(at + 8, 4);
    if (!r.has(value_at, size)) return nullptr;
    e.value = r.bytes.substr(value_at, size);
    const bool pointer = e.tag == kInteropPointer || e.tag == kExifPointer || e.tag == kGpsPointer;
    if (pointer && (e.type == kTypeLong || e.type == kTypeIfd) && e.count == 1) {
      e.sub = read_at(r, r.u(at + 8, 4), depth + 1);
      if (!e.sub) continue;
    }
    ifd->entries.push_back(std::move(e));
  }
  return ifd;
}

// The directory written at base (even): entries, next offset 0, the values
// that do not fit in an entry, then the directories it points to.
std::string write_at(const RawIfd& ifd, std::size_t base, ByteOrder order) {
  const std::size_t n = ifd.entries.size();
  std::string out(2 + n * kEntryBytes + 4, '\0');
  put(out, 0, static_cast<std::uint32_t>(n), 2, order);
  for (std::size_t i = 0; i < n; ++i) {
    const RawIfd::Entry& e = ifd.entries[i];
    const std::size_t at = 2 + i * kEntryBytes;
    put(out, at, e.tag, 2, order);
    put(out, at + 2, e.type, 2, order);
    put(out, at + 4, e.count, 4, order);
    if (e.sub) continue;  // pointed below
    if (e.value.size() <= kInlineBytes) {
      out.replace(at + 8, e.value.size(), e.value);
    } else {
      if (out.size() % 2) out += '\0';
      put(out, at + 8, static_cast<std::uint32_t>(base + out.size()), 4, order);
      out += e.value;
    }
  }
  for (std::size_t i = 0; i < n; ++i) {
    const RawIfd::Entry& e = ifd.entries[i];
    if (!e.sub) continue;
    if (out.size() % 2) out += '\0';
    put(out, 2 + i * kEntryBytes + 8, static_cast<std::uint32_t>(base + out.size()), 4, order);
    out += write_at(*e.sub, base + out.size(), order);
  }
  return out;
}

std::unique_ptr<RawIfd> clone(const RawIfd& ifd) {
  auto copy = std::make_unique<RawIfd>();
  for (const RawIfd::Entry& e : ifd.entries) {
    RawIfd::Entry c;
    c.tag = e.tag, c.type = e.type, c.count = e.count, c.value = e.value;
    if (e.sub) c.sub = clone(*e.sub);
    copy->entries.push_back(std::move(c));
  }
  return copy;
}

RawIfd::Entry entry(std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::string value) {
  RawIfd::Entry e;
  e.tag = tag, e.type = type, e.count = count, e.value = std::move(value);
  return e;
}

}  // namespace

std::string exif_block_of(const TiffSettings& t) {
  if (!t.exif && !t.gps && t.texts.empty()) return "";
  const ByteOrder order = t.big_endian ? ByteOrder::Big : ByteOrder::Little;
  RawIfd first;
  for (const auto& [tag, text] : t.texts)
    first.entries.push_back(entry(static_cast<std::uint16_t>(tag), kTypeAscii,
                                  static_cast<std::uint32_t>(text.size() + 1), text + '\0'));
  if (t.orientation != 0) {
    std::string value(2, '\0');
    put(value, 0, t.orientation, 2, order);
    first.entries.push_back(entry(kOrientation, kTypeShort, 1, value));
  }
  for (const auto& [tag, ifd] : {std::pair{kExifPointer, t.exif}, std::pair{kGpsPointer, t.gps}}) {
    if (!ifd) continue;
    RawIfd::Entry e = entry(tag, kTypeLong, 1, std::string(4, '\0'));
    e.sub = clone(*ifd);
    first.entries.push_back(std::move(e));
  }
  std::sort(first.entries.begin(), first.entries.end(),
            [](const auto& a, const auto& b) { return a.tag < b.tag; });
  std::string block(kHeaderBytes, '\0');
  block[0] = block[1] = order == ByteOrder::Big ? 'M' : 'I';
  put(block, 2, 42, 2, order);
  put(block, 4, kHeaderBytes, 4, order);
  return block + write_at(first, kHeaderBytes, order);
}

void tiff_settings_from_exif(std::string_view block, TiffSettings& t) {
  if (block.size() < kHeaderBytes || (block.substr(0, 2) != "II" && block.substr(0, 2) != "MM"))
    return;
  const ByteOrder order = block[0] == 'M' ? ByteOrder::Big : ByteOrder::Little;
  const Reader r{block, order};
  const std::unique_ptr<RawIfd> first = read_at(r, r.u(4, 4), 0);
  if (!first) return;
  t.big_endian = order == ByteOrder::Big;
  for (RawIfd::Entry& e : first->entries) {
    if (e.tag == kExifPointer && e.sub) t.exif = std::move(e.sub);
    if (e.tag == kGpsPointer && e.sub) t.gps = std::move(e.sub);
    if (e.tag == kOrientation && e.type == kTypeShort && e.count == 1)
      t.orientation = static_cast<std::uint16_t>(Reader{e.value, order}.u(0, 2));
    if (e.type == kTypeAscii &&
        std::find(std::begin(kTextTags), std::end(kTextTags), e.tag) != std::end(kTextTags)) {
      std::string text = e.value.substr(0, e.value.find('\0'));
      if (!text.empty()) t.texts.emplace_back(e.tag, text);
    }
  }
}

std::shared_ptr<RawIfd> read_raw_ifd(std::string_view file, std::uint64_t offset, ByteOrder order) {
  return read_at(Reader{file, order}, offset, 0);
}

void append_raw_ifd(std::string& file, ByteOrder order, std::uint32_t pointer_tag,
                    const RawIfd& ifd) {
  const Reader r{file, order};
  if (!r.has(0, kHeaderBytes)) return;
  const std::uint32_t first = r.u(4, 4);
  if (!r.has(first, 2)) return;
  const std::uint32_t count = r.u(first, 2);
  if (!r.has(first + 2, std::uint64_t(count) * kEntryBytes)) return;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::size_t at = first + 2 + std::size_t(i) * kEntryBytes;
    if (r.u(at, 2) != pointer_tag) continue;
    if (file.size() % 2) file += '\0';
    const std::size_t base = file.size();
    if (base > UINT32_MAX) return;
    file += write_at(ifd, base, order);
    // Exif's own type for the pointer, which libtiff writes as IFD and some
    // readers (the library's among them) do not follow.
    put(file, at + 2, kTypeLong, 2, order);
    put(file, at + 8, static_cast<std::uint32_t>(base), 4, order);
    return;
  }
}

}  // namespace zkcli
