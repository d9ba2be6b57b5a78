// Test helper: builds TIFF structures and Exif JPEG files byte by byte, in
// either byte order, so that every odd case is written by code rather than
// by editing binaries. Entries are written in the order given (duplicates
// and unsorted directories included); pointer tags and the thumbnail's
// offset and length are added unless a test lists its own.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zkimgset::testing {

using Bytes = std::vector<std::uint8_t>;

enum class Order { Little, Big };

struct TestEntry {
  std::uint16_t tag = 0;
  std::uint16_t type = 0;
  std::uint32_t count = 0;
  std::vector<std::uint32_t> numbers;  // SHORT, LONG (one each), rationals (pairs)
  Bytes bytes;                         // BYTE, ASCII, UNDEFINED
  std::optional<std::uint32_t> raw;    // the value field as given, in file order
};

inline TestEntry shorts(std::uint16_t tag, std::initializer_list<std::uint32_t> values) {
  return {tag, 3, static_cast<std::uint32_t>(values.size()), values, {}, {}};
}
inline TestEntry longs(std::uint16_t tag, std::initializer_list<std::uint32_t> values) {
  return {tag, 4, static_cast<std::uint32_t>(values.size()), values, {}, {}};
}
inline TestEntry rational(std::uint16_t tag, std::uint32_t num, std::uint32_t den,
                          std::uint16_t type = 5) {
  return {tag, type, 1, {num, den}, {}, {}};
}
inline TestEntry srational(std::uint16_t tag, std::int32_t num, std::int32_t den) {
  return rational(tag, static_cast<std::uint32_t>(num), static_cast<std::uint32_t>(den), 10);
}
// ASCII with its terminating NUL counted.
inline TestEntry ascii(std::uint16_t tag, std::string_view text) {
  Bytes bytes(text.begin(), text.end());
  bytes.push_back(0);
  return {tag, 2, static_cast<std::uint32_t>(bytes.size()), {}, bytes, {}};
}
inline TestEntry undefined(std::uint16_t tag, Bytes bytes) {
  return {tag, 7, static_cast<std::uint32_t>(bytes.size()), {}, std::move(bytes), {}};
}
// An entry whose value field is the given word, whatever type and count say.
inline TestEntry raw_entry(std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                           std::uint32_t word) {
  return {tag, type, count, {}, {}, word};
}

struct TiffLayout {
  Order order = Order::Little;
  std::vector<TestEntry> ifd0, exif, gps, interop, ifd1;
  Bytes thumbnail;
};

class TiffWriter {
 public:
  explicit TiffWriter(Order order) : order_(order) {}

  void u16(Bytes& out, std::size_t at, std::uint32_t v) const { put(out, at, v, 2); }
  void u32(Bytes& out, std::size_t at, std::uint32_t v) const { put(out, at, v, 4); }

  Bytes value_bytes(const TestEntry& e) const {
    if (!e.bytes.empty() || e.numbers.empty()) return e.bytes;
    const std::size_t unit = e.type == 3 || e.type == 8 ? 2 : (e.type == 1 ? 1 : 4);
    Bytes out(e.numbers.size() * unit);
    for (std::size_t i = 0; i < e.numbers.size(); ++i) put(out, i * unit, e.numbers[i], unit);
    return out;
  }

 private:
  void put(Bytes& out, std::size_t at, std::uint32_t v, std::size_t width) const {
    if (out.size() < at + width) out.resize(at + width);
    for (std::size_t i = 0; i < width; ++i) {
      const std::size_t shift = order_ == Order::Little ? i : width - 1 - i;
      out[at + i] = static_cast<std::uint8_t>(v >> (8 * shift));
    }
  }
  Order order_;
};

inline std::size_t even(std::size_t n) { return n + (n & 1); }

inline bool lists(const std::vector<TestEntry>& ifd, std::uint16_t tag) {
  for (const auto& e : ifd)
    if (e.tag == tag) return true;
  return false;
}

// The TIFF structure: header, 0th IFD, Exif, interoperability, GPS, 1st IFD,
// each followed by its values, then the thumbnail.
inline Bytes build_tiff(TiffLayout layout) {
  const TiffWriter w(layout.order);
  std::vector<std::vector<TestEntry>*> ifds = {&layout.ifd0, &layout.exif, &layout.interop,
                                               &layout.gps, &layout.ifd1};
  // Pointer placeholders first, so that the sizes hold.
  auto ensure = [](std::vector<TestEntry>& ifd, std::uint16_t tag, bool wanted) {
    if (wanted && !lists(ifd, tag)) ifd.push_back(longs(tag, {0}));
  };
  ensure(layout.ifd0, 0x8769, !layout.exif.empty());
  ensure(layout.ifd0, 0x8825, !layout.gps.empty());
  ensure(layout.exif, 0xA005, !layout.interop.empty());
  ensure(layout.ifd1, 0x0201, !layout.thumbnail.empty());
  ensure(layout.ifd1, 0x0202, !layout.thumbnail.empty());

  auto size_of = [&](const std::vector<TestEntry>& ifd) {
    if (ifd.empty()) return std::size_t{0};
    std::size_t size = 2 + 12 * ifd.size() + 4;
    for (const auto& e : ifd) {
      const std::size_t n = w.value_bytes(e).size();
      if (n > 4 && !e.raw) size += even(n);
    }
    return size;
  };
  std::size_t offsets[5];
  std::size_t at = 8;
  for (int i = 0; i < 5; ++i) {
    offsets[i] = at;
    at += size_of(*ifds[static_cast<std::size_t>(i)]);
  }
  const std::size_t thumbnail_at = at;
  auto fill = [&](std::vector<TestEntry>& ifd, std::uint16_t tag, std::size_t value) {
    for (auto& e : ifd)
      if (e.tag == tag && e.numbers.size() == 1 && e.numbers[0] == 0 && !e.raw)
        e.numbers[0] = static_cast<std::uint32_t>(value);
  };
  fill(layout.ifd0, 0x8769, offsets[1]);
  fill(layout.exif, 0xA005, offsets[2]);
  fill(layout.ifd0, 0x8825, offsets[3]);
  fill(layout.ifd1, 0x0201, thumbnail_at);
  fill(layout.ifd1, 0x0202, layout.thumbnail.size());

  Bytes out(8);
  out[0] = out[1] = layout.order == Order::Little ? 'I' : 'M';
  w.u16(out, 2, 42);
  w.u32(out, 4, 8);
  for (int i = 0; i < 5; ++i) {
    const auto& ifd = *ifds[static_cast<std::size_t>(i)];
    if (ifd.empty()) continue;
    const std::size_t start = offsets[i];
    std::size_t values = start + 2 + 12 * ifd.size() + 4;
    w.u16(out, start, static_cast<std::uint32_t>(ifd.size()));
    for (std::size_t k = 0; k < ifd.size(); ++k) {
      const TestEntry& e = ifd[k];
      const std::size_t entry = start + 2 + 12 * k;
      const Bytes value = w.value_bytes(e);
      w.u16(out, entry, e.tag);
      w.u16(out, entry + 2, e.type);
      w.u32(out, entry + 4, e.count);
      if (e.raw) {
        w.u32(out, entry + 8, *e.raw);
      } else if (value.size() <= 4) {
        w.u32(out, entry + 8, 0);
        std::memcpy(out.data() + entry + 8, value.data(), value.size());
      } else {
        w.u32(out, entry + 8, static_cast<std::uint32_t>(values));
        if (out.size() < values + value.size()) out.resize(values + value.size());
        std::memcpy(out.data() + values, value.data(), value.size());
        values += even(value.size());
      }
    }
    const bool links_1st = i == 0 && !layout.ifd1.empty();
    w.u32(out, start + 2 + 12 * ifd.size(), links_1st ? static_cast<std::uint32_t>(offsets[4]) : 0);
  }
  out.resize(thumbnail_at);
  out.insert(out.end(), layout.thumbnail.begin(), layout.thumbnail.end());
  return out;
}

// A JPEG segment: marker, big-endian length, body.
inline Bytes segment(std::uint16_t marker, const Bytes& body) {
  const std::size_t length = body.size() + 2;
  Bytes out(body.size() + 4);
  out[0] = static_cast<std::uint8_t>(marker >> 8);
  out[1] = static_cast<std::uint8_t>(marker);
  out[2] = static_cast<std::uint8_t>(length >> 8);
  out[3] = static_cast<std::uint8_t>(length);
  std::copy(body.begin(), body.end(), out.begin() + 4);
  return out;
}

// An APP1 segment body: a 6-byte name, then the TIFF structure.
inline Bytes app1_body(const Bytes& tiff, std::string_view name = std::string_view("Exif\0\0", 6)) {
  Bytes body(name.begin(), name.end());
  body.insert(body.end(), tiff.begin(), tiff.end());
  return body;
}

// SOI, the given segments, a minimal SOS, two bytes of scan data, EOI.
inline Bytes build_jpeg(std::initializer_list<Bytes> segments) {
  Bytes out = {0xFF, 0xD8};
  for (const Bytes& s : segments) out.insert(out.end(), s.begin(), s.end());
  const Bytes sos = segment(0xFFDA, {1, 1, 0, 0, 63, 0});
  out.insert(out.end(), sos.begin(), sos.end());
  out.insert(out.end(), {0x12, 0x34, 0xFF, 0xD9});
  return out;
}

inline Bytes exif_jpeg(const TiffLayout& layout) {
  return build_jpeg({segment(0xFFE1, app1_body(build_tiff(layout)))});
}

// The 0th IFD of an uncompressed RGB TIFF that passes the TIFF checks.
inline std::vector<TestEntry> rgb_tiff_ifd0() {
  return {shorts(0x0100, {64}), shorts(0x0101, {48}), shorts(0x0102, {8, 8, 8}),
          shorts(0x0103, {1}),  shorts(0x0106, {2}),  longs(0x0111, {8}),
          shorts(0x0115, {3}),  shorts(0x0116, {48})};
}

// An Exif IFD with the pixel dimensions the block stage needs.
inline std::vector<TestEntry> minimal_exif_ifd() {
  return {undefined(0x9000, {'0', '2', '2', '0'}), longs(0xA002, {640}), longs(0xA003, {480})};
}

}  // namespace zkimgset::testing
