// Test helper: builds TIFF structures and Exif JPEG files byte by byte, in
// either byte order. Entries are written in the order given (duplicates
// included); the Exif pointer is added unless a test lists its own.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

namespace zkimgset::testing {

using Bytes = std::vector<std::uint8_t>;

enum class Order { Little, Big };

struct TestEntry {
  std::uint16_t tag = 0;
  std::uint16_t type = 0;
  std::uint32_t count = 0;
  Bytes value;                       // little-endian, in units of `unit` bytes
  std::size_t unit = 1;              // 2 for SHORT, 4 for LONG and the rationals
  std::optional<std::uint32_t> raw;  // the value field as given, in file order
};

// Writes v at `at` in `width` bytes, in the given order.
inline void put(Bytes& out, std::size_t at, std::uint32_t v, std::size_t width, Order order) {
  if (out.size() < at + width) out.resize(at + width);
  for (std::size_t i = 0; i < width; ++i)
    out[at + i] =
        static_cast<std::uint8_t>(v >> (8 * (order == Order::Little ? i : width - 1 - i)));
}

inline TestEntry numbers(std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                         std::size_t unit, std::initializer_list<std::uint32_t> values) {
  TestEntry e{tag, type, count, {}, unit, {}};
  for (const std::uint32_t v : values) put(e.value, e.value.size(), v, unit, Order::Little);
  return e;
}
inline TestEntry shorts(std::uint16_t tag, std::initializer_list<std::uint32_t> values) {
  return numbers(tag, 3, static_cast<std::uint32_t>(values.size()), 2, values);
}
inline TestEntry longs(std::uint16_t tag, std::initializer_list<std::uint32_t> values) {
  return numbers(tag, 4, static_cast<std::uint32_t>(values.size()), 4, values);
}
inline TestEntry rational(std::uint16_t tag, std::uint32_t num, std::uint32_t den,
                          std::uint16_t type = 5) {
  return numbers(tag, type, 1, 4, {num, den});
}
inline TestEntry srational(std::uint16_t tag, std::int32_t num, std::int32_t den) {
  return rational(tag, static_cast<std::uint32_t>(num), static_cast<std::uint32_t>(den), 10);
}
// ASCII with its terminating NUL counted.
inline TestEntry ascii(std::uint16_t tag, std::string_view text) {
  Bytes bytes(text.begin(), text.end());
  bytes.push_back(0);
  return {tag, 2, static_cast<std::uint32_t>(bytes.size()), bytes, 1, {}};
}
inline TestEntry undefined(std::uint16_t tag, Bytes bytes) {
  return {tag, 7, static_cast<std::uint32_t>(bytes.size()), std::move(bytes), 1, {}};
}
// An entry whose value field is the given word, whatever type and count say.
inline TestEntry raw_entry(std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                           std::uint32_t word) {
  return {tag, type, count, {}, 1, word};
}

struct TiffLayout {
  Order order = Order::Little;
  std::vector<TestEntry> ifd0, exif, ifd1;
};

inline std::size_t even(std::size_t n) { return n + (n & 1); }

// The TIFF structure: header, 0th IFD, Exif IFD, 1st IFD, each followed by
// its values.
inline Bytes build_tiff(TiffLayout layout) {
  const Order order = layout.order;
  auto is_pointer = [](const TestEntry& e) { return e.tag == 0x8769; };
  if (!layout.exif.empty() && std::none_of(layout.ifd0.begin(), layout.ifd0.end(), is_pointer))
    layout.ifd0.push_back(longs(0x8769, {0}));
  std::vector<TestEntry>* ifds[3] = {&layout.ifd0, &layout.exif, &layout.ifd1};
  std::size_t offsets[3];
  std::size_t at = 8;
  for (int i = 0; i < 3; ++i) {
    offsets[i] = at;
    if (ifds[i]->empty()) continue;
    at += 2 + 12 * ifds[i]->size() + 4;
    for (const auto& e : *ifds[i])
      if (e.value.size() > 4) at += even(e.value.size());
  }
  for (auto& e : layout.ifd0)
    if (is_pointer(e) && e.value == Bytes(4, 0)) put(e.value, 0, offsets[1], 4, Order::Little);

  Bytes out(at);
  out[0] = out[1] = order == Order::Little ? 'I' : 'M';
  put(out, 2, 42, 2, order);
  put(out, 4, 8, 4, order);
  for (int i = 0; i < 3; ++i) {
    const auto& ifd = *ifds[i];
    if (ifd.empty()) continue;
    const std::size_t start = offsets[i];
    std::size_t values = start + 2 + 12 * ifd.size() + 4;
    put(out, start, static_cast<std::uint32_t>(ifd.size()), 2, order);
    for (std::size_t k = 0; k < ifd.size(); ++k) {
      const TestEntry& e = ifd[k];
      const std::size_t entry = start + 2 + 12 * k;
      put(out, entry, e.tag, 2, order);
      put(out, entry + 2, e.type, 2, order);
      put(out, entry + 4, e.count, 4, order);
      if (e.raw) put(out, entry + 8, *e.raw, 4, order);
      const std::size_t to = e.value.size() <= 4 ? entry + 8 : values;
      if (e.value.size() > 4) put(out, entry + 8, static_cast<std::uint32_t>(values), 4, order);
      for (std::size_t b = 0; b < e.value.size(); ++b) {  // each unit in the structure's order
        const std::size_t in_unit = b % e.unit;
        const std::size_t from = order == Order::Little ? b : b - in_unit + e.unit - 1 - in_unit;
        out[to + b] = e.value[from];
      }
      if (e.value.size() > 4) values += even(e.value.size());
    }
    const bool links_1st = i == 0 && !layout.ifd1.empty();
    put(out, start + 2 + 12 * ifd.size(), links_1st ? static_cast<std::uint32_t>(offsets[2]) : 0, 4,
        order);
  }
  return out;
}

// A JPEG segment: marker, big-endian length, body.
// Sized once and filled in place: growing a short vector trips GCC 12's
// -Warray-bounds false positives (native and mingw).
inline Bytes segment(std::uint16_t marker, const Bytes& body) {
  const std::size_t length = body.size() + 2;
  Bytes out(2 + length);
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

}  // namespace zkimgset::testing
