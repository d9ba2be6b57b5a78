// Fuzzes the source-mark check twice over: over the raw bytes as a block,
// and over a block built from the bytes with the structure the check looks
// for (the Exif pointer, SceneType, a maker note under its name with its
// own little-endian directory, the keyword inline or at an offset, the
// frame check value), whose answer is known and checked.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "exif/source_mark.h"

namespace {

// Takes bytes off the front of the input; zeros once it runs out.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  std::uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
  std::string text(std::size_t most) {
    const std::size_t n = byte() % (most + 1);
    std::string s;
    for (std::size_t i = 0; i < n; ++i) s += static_cast<char>(byte() % 94 + 33);
    return s;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_, at_ = 0;
};

class Block {
 public:
  explicit Block(bool little) : little_(little) {}
  std::size_t size() const { return bytes_.size(); }
  void u16(std::size_t at, std::uint32_t v, bool little) { put(at, v, 2, little); }
  void u32(std::size_t at, std::uint32_t v, bool little) { put(at, v, 4, little); }
  void u16(std::size_t at, std::uint32_t v) { put(at, v, 2, little_); }
  void u32(std::size_t at, std::uint32_t v) { put(at, v, 4, little_); }
  void raw(std::size_t at, const void* p, std::size_t n) {
    if (bytes_.size() < at + n) bytes_.resize(at + n);
    std::memcpy(bytes_.data() + at, p, n);
  }
  // A 12-byte entry with its 4 value bytes.
  void entry(std::size_t at, std::uint16_t tag, std::uint16_t type, std::uint32_t count,
             std::uint32_t value, bool little) {
    put(at, tag, 2, little);
    put(at + 2, type, 2, little);
    put(at + 4, count, 4, little);
    put(at + 8, value, 4, little);
  }
  std::vector<std::uint8_t>& bytes() { return bytes_; }

 private:
  void put(std::size_t at, std::uint32_t v, int width, bool little) {
    if (bytes_.size() < at + width) bytes_.resize(at + width);
    for (int i = 0; i < width; ++i)
      bytes_[at + i] = static_cast<std::uint8_t>(v >> (8 * (little ? i : width - 1 - i)));
  }
  bool little_;
  std::vector<std::uint8_t> bytes_;
};

constexpr const char* kKeywords[] = {"135_C", "135_H", "135_P", "APS_C",   "APS_H",
                                     "APS_P", "DSC",   "UNDEF", "KALDREXA"};

// Builds a well-formed block from the input and returns the answer the
// check must give for it.
int build(Input& in, Block& b) {
  const std::uint8_t flags = in.byte();
  const bool little = flags & 1, has_scene = flags & 2, has_note = flags & 4;
  const bool named = (flags & 8) == 0, has_frame = flags & 16, with_1st = flags & 32;
  const std::uint8_t scene = in.byte() % 5;
  const std::uint16_t frame = in.byte() % 5;
  const std::uint8_t pick = in.byte();
  std::string keyword = pick % 12 < 9 ? kKeywords[pick % 12] : in.text(12);
  if (pick >= 240 && !keyword.empty()) keyword.back() ^= 0x20;  // near misses: "dsc", "APS_c"
  const int fillers = in.byte() % 12;

  b.raw(0, little ? "II" : "MM", 2);
  b.u16(2, 42);
  b.u32(4, 8);
  // 0th IFD at 8: the Exif pointer; a 1st IFD after the Exif IFD if asked.
  const std::size_t exif_at = 8 + 2 + 12 + 4;
  b.u16(8, 1);
  b.entry(10, 0x8769, 4, 1, static_cast<std::uint32_t>(exif_at), little);
  const int exif_entries = (has_scene ? 1 : 0) + (has_note ? 1 : 0);
  const std::size_t after_exif = exif_at + 2 + 12 * exif_entries + 4;
  std::size_t first1 = 0, note = after_exif;
  if (with_1st) {
    first1 = after_exif;
    b.u16(first1, 1);
    b.entry(first1 + 2, 0x0103, 3, 1, 6, little);
    b.u32(first1 + 14, 0);
    note = first1 + 18;
  }
  b.u32(22, static_cast<std::uint32_t>(first1));
  b.u16(exif_at, static_cast<std::uint32_t>(exif_entries));
  std::size_t e = exif_at + 2;
  if (has_scene) {
    b.entry(e, 0xA301, 7, 1, 0, little);
    b.raw(e + 8, &scene, 1);
    e += 12;
  }
  if (has_note) b.entry(e, 0x927C, 7, 64, static_cast<std::uint32_t>(note), little);
  b.u32(exif_at + 2 + 12 * exif_entries, 0);
  if (!has_note) return scene == 3 && has_scene ? 1 : 0;

  // The maker note: its name, then (little-endian whatever the block) the
  // offset of its directory from the note's start.
  b.raw(note, named ? "KALDREXA" : "KALDREXa", 8);
  const std::size_t note_ifd = note + 10 + in.byte() % 4;
  b.u16(note + 8, static_cast<std::uint32_t>(note_ifd - note), true);
  const int count = 1 + (has_frame ? 1 : 0) + fillers;
  b.u16(note_ifd, static_cast<std::uint32_t>(count), true);
  const std::size_t text_at = note_ifd + 2 + 12 * count + 4;
  const auto text_count = static_cast<std::uint32_t>(keyword.size() + 1);
  std::size_t at = note_ifd + 2;
  for (int i = 0; i < fillers; ++i, at += 12) b.entry(at, 0x9000 + i, 3, 1, i, true);
  if (text_count < 5) {
    std::uint8_t inline_text[4] = {};
    std::memcpy(inline_text, keyword.data(), keyword.size());
    b.entry(at, 0x8000, 2, text_count, 0, true);
    b.raw(at + 8, inline_text, 4);
  } else {
    b.entry(at, 0x8000, 2, text_count, static_cast<std::uint32_t>(text_at - note), true);
    b.raw(text_at, keyword.c_str(), keyword.size() + 1);
  }
  at += 12;
  if (has_frame) b.entry(at, 0x8021, 3, 1, frame, true);
  b.u32(note_ifd + 2 + 12 * count, 0, true);

  const int by_scene = has_scene && scene == 3 ? 1 : 0;
  if (!named) return by_scene;
  for (const char* source : kKeywords) {
    if (keyword != source) continue;
    if (count < 8) return 1;
    return has_frame && frame == 3 ? 1 : 0;
  }
  return by_scene;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zkimgset::exif::source_mark(std::span<const std::uint8_t>(data, size));
  Input in(data, size);
  Block block(size > 0 && (data[0] & 1));  // the order build() reads from the same byte
  const int expected = build(in, block);
  const int answer = zkimgset::exif::source_mark(block.bytes());
  if (answer != expected) {
    std::fprintf(stderr, "source mark %d, expected %d\n", answer, expected);
    std::abort();
  }
  // The same block cut short anywhere must still be answered, never read past.
  const std::size_t cut = size > 1 ? data[size - 1] * block.size() / 256 : 0;
  zkimgset::exif::source_mark(std::span<const std::uint8_t>(block.bytes().data(), cut));
  return 0;
}
