#include "exif/exif_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "exif/byte_reader.h"
#include "exif/tiff_builder.h"

namespace {

using namespace zkimgset::exif;
using namespace zkimgset::testing;

// A document read from a built Exif JPEG.
struct Read : ExifDocument {
  explicit Read(const TiffLayout& layout) {
    EXPECT_EQ(read_document(*this, exif_jpeg(layout)), code::kOk);
  }
};

// Writes a document and reads the block back (its TIFF checks fail, as the
// writer removes the image-structure tags, but its directories are read).
struct Written {
  explicit Written(ExifDocument& document, std::uint32_t width = 640, std::uint32_t height = 480) {
    std::size_t size = 0;
    EXPECT_EQ(written_size(document, size), code::kOk);
    block.assign(size, 0xEE);  // not zeroed: the writer must write its pads
    EXPECT_EQ(write_document(document, block, width, height), code::kOk);
    read_document(back, block);
  }
  std::vector<std::uint8_t> block;
  ExifDocument back;
};

std::uint32_t u32_of(const ExifTag* tag) {
  std::uint32_t value = 0;
  if (tag != nullptr)
    std::memcpy(&value, tag->value.data(), std::min(sizeof value, tag->value.size()));
  return value;
}

std::string text_of(const ExifTag* tag) { return {tag->value.begin(), tag->value.end()}; }

TiffLayout minimal(Order order = Order::Little) {
  TiffLayout layout;
  layout.order = order;
  layout.ifd0 = {ascii(0x010F, "Maker"), shorts(0x0100, {64}), shorts(0x0106, {2})};
  layout.exif = minimal_exif_ifd();
  return layout;
}

TEST(ExifWriter, WritesBigEndianDocumentsInHostOrderWithPadsZeroed) {
  Read in(minimal(Order::Big));
  const Written out(in);
  EXPECT_EQ(out.block[0], 'I');
  EXPECT_EQ(out.block[1], 'I');
  EXPECT_EQ(ByteReader(out.block, ByteOrder::Little).u16(2), 42);
  EXPECT_EQ(ByteReader(out.block, ByteOrder::Little).u32(4), 8u);
  EXPECT_EQ(std::count(out.block.begin(), out.block.end(), 0xEE), 0);
  EXPECT_EQ(text_of(out.back.ifd0.find(0x010F)), std::string("Maker\0", 6));
}

// Image-structure tags go, the always-written groups come, and the
// interoperability group (with Make, Model and date defaults) comes only with
// its directory.
TEST(ExifWriter, RemovesImageStructureAndAddsTheDefaultGroups) {
  TiffLayout bare = minimal();
  bare.exif = {undefined(0x9000, {'0', '2', '2', '0'}), longs(0xA002, {1}), longs(0xA003, {1})};
  TiffLayout interop = minimal();
  interop.ifd0 = {shorts(0x0106, {2})};
  interop.interop = {ascii(0x0001, "R03")};
  interop.gps = {shorts(0x0001, {1})};
  for (const bool with_interop : {false, true}) {
    Read in(with_interop ? interop : bare);
    const Written out(in);
    const ExifDocument& d = out.back;
    EXPECT_EQ(d.ifd0.find(0x0100), nullptr);
    EXPECT_EQ(d.ifd0.find(0x0106), nullptr);
    std::uint32_t resolution[2];
    std::memcpy(resolution, d.ifd0.find(0x011A)->value.data(), sizeof resolution);
    EXPECT_EQ(resolution[0], 720000u) << "kept unreduced";
    EXPECT_EQ(resolution[1], 10000u);
    EXPECT_EQ(u32_of(d.ifd0.find(0x0213)), 1u);
    EXPECT_NE(d.exif.find(0x9101), nullptr);
    EXPECT_NE(d.exif.find(0xA000), nullptr);
    EXPECT_EQ(d.interop.present(), with_interop);
    EXPECT_EQ(d.gps.present(), with_interop);
    if (!with_interop) {
      EXPECT_EQ(text_of(d.exif.find(0x9000)), "0220") << "a present ExifVersion keeps its value";
      EXPECT_EQ(d.ifd0.find(0x0110), nullptr);
      EXPECT_EQ(d.exif.find(0x9003), nullptr);
      EXPECT_EQ(d.exif.find(0xA005), nullptr);
      continue;
    }
    EXPECT_EQ(d.interop.find(0x0001)->value[2], '3') << "present: kept";
    EXPECT_EQ(d.interop.find(0x0002)->type, 7);
    EXPECT_EQ(d.ifd0.find(0x010F)->count, 20u);
    EXPECT_EQ(d.ifd0.find(0x0110)->value[0], ' ');
    EXPECT_EQ(d.exif.find(0x9003)->type, 7) << "the dates are added as UNDEFINED, on purpose";
    EXPECT_EQ(d.exif.find(0x9004)->count, 20u);
  }
  Read no_version(bare);
  no_version.exif.remove(0x9000);
  ASSERT_EQ(normalise(no_version), code::kOk);
  EXPECT_EQ(text_of(no_version.exif.find(0x9000)), "0210");
}

// Values of up to four bytes sit in their entry, longer ones in the value
// area after their directory (padded to even), and the thumbnail after the
// 1st IFD at the block's end.
TEST(ExifWriter, LaysOutDirectoriesValuesAndTheThumbnailAsTheirSizesSay) {
  TiffLayout layout = minimal();
  layout.exif.push_back(undefined(0x9286, {1, 2, 3, 4, 5}));  // 5 bytes: 6 in the value area
  layout.exif.push_back(undefined(0x927C, {9, 8, 7, 6}));     // 4 bytes: in the entry
  Read in(layout);
  const Written out(in);
  const ByteReader block(out.block, ByteOrder::Little);
  // 0th IFD: Make (6 bytes at an offset) and the five group-1 tags, two of
  // them rationals: 12 x 6 + 6 + 6 + 8 + 8.
  EXPECT_EQ(*block.u16(8), 6);
  const std::uint32_t exif_at = u32_of(out.back.ifd0.find(0x8769));
  EXPECT_EQ(exif_at, 8u + 12 * 6 + 6 + 6 + 8 + 8);
  const std::uint16_t entries = *block.u16(exif_at);
  const std::uint32_t value_area = exif_at + 12 * entries + 6;
  EXPECT_EQ(block.size(), value_area + 6u) << "the only out-of-line value takes 6 bytes";
  for (std::uint16_t i = 0; i < entries; ++i) {
    const std::uint64_t at = exif_at + 2 + 12u * i;
    const std::uint32_t value = *block.u32(at + 8);
    const std::uint16_t tag = *block.u16(at);
    EXPECT_EQ(value, tag == 0x927C ? 0x06070809u : tag == 0x9286 ? value_area : value);
  }

  layout.ifd1 = {shorts(0x0100, {160}), shorts(0x0103, {6})};
  layout.thumbnail = {0xFF, 0xD8, 0xAA, 0xBB, 0xFF, 0xD9};
  Read with_thumbnail(layout);
  const Written thumb(with_thumbnail);
  const std::uint32_t offset = u32_of(with_thumbnail.ifd1.find(0x0201));
  EXPECT_EQ(u32_of(with_thumbnail.ifd1.find(0x0202)), layout.thumbnail.size());
  EXPECT_EQ(offset + layout.thumbnail.size(), thumb.block.size());
  EXPECT_TRUE(
      std::equal(layout.thumbnail.begin(), layout.thumbnail.end(), thumb.block.begin() + offset));
  EXPECT_EQ(with_thumbnail.ifd1.find(0x0100), nullptr);
  EXPECT_NE(with_thumbnail.ifd1.find(0x011A), nullptr);
}

TEST(ExifWriter, KeepsOnlyTheLowThreeBytesOfTheDimensions) {
  TiffLayout layout = minimal();
  layout.exif = {longs(0xA002, {0x01000010}), shorts(0xA003, {0x0300})};
  Read in(layout);
  const auto width = pixel_dimension(in.exif, 0xA002);
  const auto height = pixel_dimension(in.exif, 0xA003);
  EXPECT_EQ(width, 0x10u);
  EXPECT_EQ(height, 0x300u) << "a SHORT dimension is taken as it is";
  EXPECT_FALSE(pixel_dimension(in.exif, 0x9000).has_value());
  const Written out(in, *width, *height);
  EXPECT_EQ(out.back.exif.find(0xA003)->type, 4) << "rewritten as LONG";
  EXPECT_EQ(u32_of(out.back.exif.find(0xA002)), 0x10u);
}

// Tags the writer fills in, in whatever form the file gave them, and
// pointers to directories that are empty: the written block stays well
// formed (every pointer leads to its directory, the thumbnail offset to the
// thumbnail) and a directory never outgrows its 16-bit count.
TEST(ExifWriter, KeepsEveryPointerTrueWhateverTheFileHeld) {
  const std::vector<std::uint8_t> long_pair(8, 0), eight = {8, 0, 0, 0};
  const Bytes thumbnail = {0xFF, 0xD8, 0xAA, 0xBB, 0xFF, 0xD9};
  const struct {
    const char* what;
    std::function<void(ExifDocument&)> change;
    Code size_code;
  } cases[] = {{"thumbnail pointers of count 2",
                [&](ExifDocument& d) {
                  d.thumbnail = thumbnail;
                  d.ifd1.add(0x0201, 4, 2, long_pair);
                  d.ifd1.add(0x0202, 4, 2, long_pair);
                },
                code::kOk},
               {"GPS pointer without a GPS directory",
                [&](ExifDocument& d) { d.ifd0.add(0x8825, 4, 1, eight); }, code::kOk},
               {"interoperability pointer of count 2 without its directory",
                [&](ExifDocument& d) { d.exif.add(0xA005, 4, 2, long_pair); }, code::kOk},
               {"Exif pointer in the 1st IFD",
                [&](ExifDocument& d) {
                  d.thumbnail = thumbnail;
                  d.ifd1.add(0x8769, 4, 1, eight);
                },
                code::kOk},
               {"Exif IFD of 65535 tags without ExifVersion, a default to add",
                [&](ExifDocument& d) {
                  const std::vector<std::uint8_t> one = {1};
                  d.exif.remove(0x9000);
                  for (std::uint32_t n = 0; n <= 0xFFFF && d.exif.size() < 65535; ++n)
                    if (n != 0x9000) d.exif.add(static_cast<std::uint16_t>(n), 1, 1, one);
                },
                code::kCannotSetTag}};
  for (const auto& c : cases) {
    Read in(minimal());
    c.change(in);
    std::size_t size = 0;
    ASSERT_EQ(written_size(in, size), c.size_code) << c.what;
    if (c.size_code != code::kOk) continue;
    const Written out(in);
    EXPECT_EQ(out.block.size(), size) << c.what;
    EXPECT_EQ(out.back.ifd0.find(0x8825), nullptr) << c.what;
    EXPECT_EQ(out.back.exif.find(0xA005), nullptr) << c.what;
    EXPECT_EQ(out.back.ifd1.find(0x8769), nullptr) << c.what;
    EXPECT_NE(out.back.exif.find(0x9000), nullptr) << c.what << ": the Exif IFD is found";
    if (!in.has_thumbnail()) continue;
    const std::uint32_t offset = u32_of(out.back.ifd1.find(0x0201));
    ASSERT_EQ(offset + thumbnail.size(), out.block.size()) << c.what;
    EXPECT_TRUE(std::equal(thumbnail.begin(), thumbnail.end(), out.block.begin() + offset))
        << c.what;
  }
}

TEST(ExifWriter, ReportsEveryFailureWithItsCode) {
  Read in(minimal());
  std::size_t size = 0;
  ASSERT_EQ(written_size(in, size), code::kOk);
  const struct {
    std::size_t bytes;
    Code expected;
  } cases[] = {{0, code::kMarkWriteFailed},        {3, code::kMagicWriteFailed},
               {7, code::kOffsetWriteFailed},      {40, code::kIfd0WriteFailed},
               {size - 1, code::kIfd0WriteFailed}, {size, code::kOk}};
  for (const auto& c : cases) {
    std::vector<std::uint8_t> block(c.bytes);
    EXPECT_EQ(write_document(in, block, 1, 1), c.expected) << c.bytes;
  }
}

}  // namespace
