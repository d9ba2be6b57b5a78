#include "exif/source_mark.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "exif/tiff_builder.h"

namespace {

using namespace zkimgset::testing;

// A maker note: its 8-byte name, then (little-endian whatever the block's
// order) the offset of its IFD from the note's start, the IFD, and the
// keyword text when it does not fit in its entry.
Bytes maker_note(const std::string& name, const std::string& keyword, int entries,
                 std::optional<std::uint16_t> frame_check) {
  Bytes note(name.begin(), name.end());
  auto le = [&](std::size_t at, std::uint32_t v, std::size_t width) {
    put(note, at, v, width, Order::Little);
  };
  note.resize(8);
  le(8, 10, 2);  // the IFD right after this field
  const std::size_t ifd = 10;
  le(ifd, static_cast<std::uint32_t>(entries), 2);
  const std::size_t text_at = ifd + 2 + 12 * static_cast<std::size_t>(entries) + 4;
  note.resize(text_at);
  for (int i = 0; i < entries; ++i) {
    const std::size_t at = ifd + 2 + 12 * static_cast<std::size_t>(i);
    std::uint16_t tag = static_cast<std::uint16_t>(0x8001 + i);
    if (i == 0 && !keyword.empty()) tag = 0x8000;
    if (i == 1 && frame_check) tag = 0x8021;
    le(at, tag, 2);
    le(at + 2, tag == 0x8000 ? 2 : 3, 2);
    if (tag == 0x8000) {
      le(at + 4, static_cast<std::uint32_t>(keyword.size() + 1), 4);
      if (keyword.size() + 1 < 5)
        std::copy(keyword.begin(), keyword.end(), note.begin() + static_cast<long>(at) + 8);
      else
        le(at + 8, static_cast<std::uint32_t>(text_at), 4);
    } else {
      le(at + 4, 1, 4);
      le(at + 8, tag == 0x8021 ? *frame_check : 0, 2);
    }
  }
  note.insert(note.end(), keyword.begin(), keyword.end());
  note.push_back(0);
  return note;
}

TEST(SourceMark, AnswersForEveryMarkOfAPreparedImage) {
  const struct {
    const char* what;
    std::optional<std::uint8_t> scene_type;
    std::string name;  // empty: no maker note
    std::string keyword;
    int entries;
    std::optional<std::uint16_t> frame_check;
    int expected;
  } cases[] = {
      {"nothing", std::nullopt, "", "", 0, std::nullopt, 0},
      {"scene type 3", 3, "", "", 0, std::nullopt, 1},
      {"DSC with 7 entries", std::nullopt, "KALDREXA", "DSC", 7, std::nullopt, 1},
      {"DSC, 8 entries, no frame check", std::nullopt, "KALDREXA", "DSC", 8, std::nullopt, 0},
      {"DSC, 8 entries, frame check 3", std::nullopt, "KALDREXA", "DSC", 8, 3, 1},
      {"DSC, 8 entries, frame check 2", 3, "KALDREXA", "DSC", 8, 2, 0},
      {"keyword at an offset", std::nullopt, "KALDREXA", "APS_H", 3, std::nullopt, 1},
      {"unknown keyword", std::nullopt, "KALDREXA", "DSC2", 3, std::nullopt, 0},
      {"unknown keyword, scene type 3", 3, "KALDREXA", "135", 3, std::nullopt, 1},
      {"another maker's note", std::nullopt, "KALDREXB", "DSC", 3, std::nullopt, 0},
      {"another maker's note, scene type 3", 3, "OTHERCAM", "DSC", 3, std::nullopt, 1}};
  for (const auto& c : cases)
    for (const Order order : {Order::Little, Order::Big}) {
      TiffLayout layout;
      layout.order = order;
      layout.ifd0 = {ascii(0x010F, "Maker")};
      layout.exif = {shorts(0x9209, {0})};
      if (c.scene_type) layout.exif.push_back(undefined(0xA301, {*c.scene_type}));
      if (!c.name.empty())
        layout.exif.push_back(
            undefined(0x927C, maker_note(c.name, c.keyword, c.entries, c.frame_check)));
      EXPECT_EQ(zkimgset::exif::source_mark(build_tiff(layout)), c.expected)
          << c.what << (order == Order::Big ? ", MM" : ", II");
    }
}

TEST(SourceMarkBounds, ReadsNothingOutsideTheBlock) {
  TiffLayout layout;
  layout.exif = {undefined(0xA301, {3}), raw_entry(0x927C, 7, 100, 0x7FFFFFF0)};
  EXPECT_EQ(zkimgset::exif::source_mark(build_tiff(layout)), 1) << "the note lies outside: absent";

  // A keyword whose text would lie past the block counts as empty.
  Bytes note = maker_note("KALDREXA", "APS_C", 3, std::nullopt);
  TiffLayout with_note;
  with_note.exif = {undefined(0x927C, note)};
  Bytes block = build_tiff(with_note);
  EXPECT_EQ(zkimgset::exif::source_mark(block), 1);
  block.resize(block.size() - 4);  // cut into the keyword text
  EXPECT_EQ(zkimgset::exif::source_mark(block), 0);
}

}  // namespace
