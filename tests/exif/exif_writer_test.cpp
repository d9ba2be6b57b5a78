// The Exif writer, whose block only the source-mark check reads (the corpus
// test runs both over every camera file): byte order and pads, the pixel
// dimensions, pointers that stay true, and the codes of its failures.
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
  EXPECT_STREQ(reinterpret_cast<const char*>(out.back.ifd0.find(0x010F)->value.data()), "Maker");
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
