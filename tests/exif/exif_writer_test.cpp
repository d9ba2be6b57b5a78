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
struct Read {
  explicit Read(const TiffLayout& layout) {
    const Bytes jpeg = exif_jpeg(layout);
    EXPECT_EQ(read_document(document, jpeg), code::kOk);
  }
  ExifDocument document;
};

// Writes a document and reads the block back (its TIFF checks fail, as the
// writer removes the image-structure tags, but its directories are read).
struct Written {
  explicit Written(ExifDocument& document, std::uint32_t width = 640, std::uint32_t height = 480) {
    std::size_t size = 0;
    EXPECT_EQ(written_size(document, size), code::kOk);
    block.assign(size, 0xEE);  // not zeroed: the writer must write its pads
    result = write_document(document, block, width, height);
    read_document(back, block);
  }
  std::vector<std::uint8_t> block;
  Code result = 0;
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
  Written out(in.document);
  ASSERT_EQ(out.result, code::kOk);
  EXPECT_EQ(out.block[0], 'I');
  EXPECT_EQ(out.block[1], 'I');
  EXPECT_EQ(ByteReader(out.block, ByteOrder::Little).u16(2), 42);
  EXPECT_EQ(ByteReader(out.block, ByteOrder::Little).u32(4), 8u);
  EXPECT_EQ(std::count(out.block.begin(), out.block.end(), 0xEE), 0);
  EXPECT_STREQ(reinterpret_cast<const char*>(out.back.ifd0.find(0x010F)->value.data()), "Maker");
}

TEST(ExifWriter, RemovesImageStructureAndAddsTheAlwaysGroups) {
  TiffLayout layout = minimal();
  layout.exif = {undefined(0x9000, {'0', '2', '2', '0'}), longs(0xA002, {1}), longs(0xA003, {1})};
  Read in(layout);
  Written out(in.document);
  ASSERT_EQ(out.result, code::kOk);
  const ExifDocument& d = out.back;
  EXPECT_EQ(d.ifd0.find(0x0100), nullptr);
  EXPECT_EQ(d.ifd0.find(0x0106), nullptr);
  const ExifTag* x = d.ifd0.find(0x011A);
  ASSERT_NE(x, nullptr);
  std::uint32_t resolution[2];
  std::memcpy(resolution, x->value.data(), sizeof resolution);
  EXPECT_EQ(resolution[0], 720000u) << "kept unreduced";
  EXPECT_EQ(resolution[1], 10000u);
  EXPECT_EQ(u32_of(d.ifd0.find(0x0213)), 1u);
  EXPECT_EQ(std::string(d.exif.find(0x9000)->value.begin(), d.exif.find(0x9000)->value.end()),
            "0220")
      << "a present ExifVersion keeps its value";
  EXPECT_NE(d.exif.find(0x9101), nullptr);
  EXPECT_NE(d.exif.find(0xA000), nullptr);
  // No interoperability IFD: no Make/Model/date defaults, no GPS pointer.
  EXPECT_EQ(d.ifd0.find(0x0110), nullptr);
  EXPECT_EQ(d.exif.find(0x9003), nullptr);
  EXPECT_EQ(d.exif.find(0xA005), nullptr);
  EXPECT_EQ(d.ifd0.find(0x8825), nullptr);

  ExifDocument bare;
  bare.ifd0 = in.document.ifd0;
  bare.exif.add(0xA002, 4, 1, std::vector<std::uint8_t>{1, 0, 0, 0});
  ASSERT_EQ(normalise(bare), code::kOk);
  EXPECT_EQ(std::string(bare.exif.find(0x9000)->value.begin(), bare.exif.find(0x9000)->value.end()),
            "0210");
}

TEST(ExifWriter, AddsTheInteroperabilityGroupOnlyWithThatDirectory) {
  TiffLayout layout = minimal();
  layout.ifd0 = {shorts(0x0106, {2})};
  layout.interop = {ascii(0x0001, "R03")};
  layout.gps = {shorts(0x0001, {1})};
  Read in(layout);
  Written out(in.document);
  ASSERT_EQ(out.result, code::kOk);
  const ExifDocument& d = out.back;
  EXPECT_EQ(d.interop.find(0x0001)->value[2], '3') << "present: kept";
  EXPECT_EQ(d.interop.find(0x0002)->type, 7);
  EXPECT_EQ(d.ifd0.find(0x010F)->count, 20u);
  EXPECT_EQ(d.ifd0.find(0x0110)->value[0], ' ');
  EXPECT_EQ(d.exif.find(0x9003)->type, 7) << "the dates are added as UNDEFINED, on purpose";
  EXPECT_EQ(d.exif.find(0x9004)->count, 20u);
  EXPECT_TRUE(d.gps.present());
  EXPECT_TRUE(d.interop.present());
}

TEST(ExifWriter, LaysOutDirectoriesAndValuesAsTheirSizesSay) {
  TiffLayout layout = minimal();
  layout.exif.push_back(undefined(0x9286, {1, 2, 3, 4, 5}));  // 5 bytes: 6 in the value area
  layout.exif.push_back(undefined(0x927C, {9, 8, 7, 6}));     // 4 bytes: in the entry
  Read in(layout);
  Written out(in.document);
  ASSERT_EQ(out.result, code::kOk);
  const ByteReader block(out.block, ByteOrder::Little);
  // 0th IFD: Make (6 bytes at an offset) and the five group-1 tags, two of
  // them rationals: 12 x 6 + 6 + 6 + 8 + 8.
  EXPECT_EQ(*block.u16(8), 6);
  const std::uint32_t exif_at = u32_of(out.back.ifd0.find(0x8769));
  EXPECT_EQ(exif_at, 8u + 12 * 6 + 6 + 6 + 8 + 8);
  const std::uint16_t entries = *block.u16(exif_at);
  std::uint32_t value_area = exif_at + 12 * entries + 6;
  EXPECT_EQ(block.size(), value_area + 6u) << "the only out-of-line value takes 6 bytes";
  for (std::uint16_t i = 0; i < entries; ++i) {
    const std::uint64_t at = exif_at + 2 + 12u * i;
    if (*block.u16(at) == 0x927C) {
      EXPECT_EQ(*block.u32(at + 8), 0x06070809u);
    }
    if (*block.u16(at) == 0x9286) {
      EXPECT_EQ(*block.u32(at + 8), value_area);
    }
  }
}

TEST(ExifWriter, KeepsOnlyTheLowThreeBytesOfTheDimensions) {
  TiffLayout layout = minimal();
  layout.exif = {longs(0xA002, {0x01000010}), shorts(0xA003, {0x0300})};
  Read in(layout);
  const auto width = pixel_dimension(in.document.exif, 0xA002);
  const auto height = pixel_dimension(in.document.exif, 0xA003);
  EXPECT_EQ(width, 0x10u);
  EXPECT_EQ(height, 0x300u) << "a SHORT dimension is taken as it is";
  EXPECT_FALSE(pixel_dimension(in.document.exif, 0x9000).has_value());
  Written out(in.document, *width, *height);
  ASSERT_EQ(out.result, code::kOk);
  EXPECT_EQ(out.back.exif.find(0xA003)->type, 4) << "rewritten as LONG";
  EXPECT_EQ(u32_of(out.back.exif.find(0xA002)), 0x10u);
}

TEST(ExifWriter, PlacesTheThumbnailAfterThe1stIfd) {
  TiffLayout layout = minimal();
  layout.ifd1 = {shorts(0x0100, {160}), shorts(0x0103, {6})};
  layout.thumbnail = {0xFF, 0xD8, 0xAA, 0xBB, 0xFF, 0xD9};
  Read in(layout);
  Written out(in.document);
  ASSERT_EQ(out.result, code::kOk);
  const std::uint32_t offset = u32_of(in.document.ifd1.find(0x0201));
  EXPECT_EQ(u32_of(in.document.ifd1.find(0x0202)), layout.thumbnail.size());
  EXPECT_EQ(offset + layout.thumbnail.size(), out.block.size());
  EXPECT_TRUE(
      std::equal(layout.thumbnail.begin(), layout.thumbnail.end(), out.block.begin() + offset));
  EXPECT_EQ(in.document.ifd1.find(0x0100), nullptr);
  EXPECT_NE(in.document.ifd1.find(0x011A), nullptr);
}

// Tags the writer fills in, in whatever form the file gave them, and
// pointers to directories that are empty: the written block stays well
// formed (every pointer leads to its directory, the thumbnail offset to the
// thumbnail) and a directory never outgrows its 16-bit count.
TEST(ExifWriter, KeepsEveryPointerTrueWhateverTheFileHeld) {
  const std::vector<std::uint8_t> long_pair(8, 0);  // a LONG of count 2: out of line
  const Bytes thumbnail = {0xFF, 0xD8, 0xAA, 0xBB, 0xFF, 0xD9};
  const struct {
    const char* what;
    std::function<void(ExifDocument&)> change;
    Code size_code;
  } cases[] = {
      {"thumbnail pointers of count 2",
       [&](ExifDocument& d) {
         d.thumbnail = thumbnail;
         d.ifd1.add(0x0201, 4, 2, long_pair);
         d.ifd1.add(0x0202, 4, 2, long_pair);
       },
       code::kOk},
      {"GPS pointer without a GPS directory",
       [&](ExifDocument& d) {
         d.ifd0.add(0x8825, 4, 1, std::vector<std::uint8_t>{8, 0, 0, 0});
       },
       code::kOk},
      {"interoperability pointer of count 2 without its directory",
       [&](ExifDocument& d) { d.exif.add(0xA005, 4, 2, long_pair); }, code::kOk},
      {"Exif pointer in the 1st IFD",
       [&](ExifDocument& d) {
         d.thumbnail = thumbnail;
         d.ifd1.add(0x8769, 4, 1, std::vector<std::uint8_t>{8, 0, 0, 0});
       },
       code::kOk},
      {"Exif IFD of 65535 tags without ExifVersion, a default to add",
       [&](ExifDocument& d) {
         const std::vector<std::uint8_t> one = {1};
         d.exif.remove(0x9000);
         for (std::uint32_t n = 0; n <= 0xFFFF && d.exif.size() < 65535; ++n)
           if (n != 0x9000) d.exif.add(static_cast<std::uint16_t>(n), 1, 1, one);
       },
       code::kCannotSetTag},
  };
  for (const auto& c : cases) {
    Read in(minimal());
    c.change(in.document);
    std::size_t size = 0;
    ASSERT_EQ(written_size(in.document, size), c.size_code) << c.what;
    if (c.size_code != code::kOk) continue;
    Written out(in.document);
    ASSERT_EQ(out.result, code::kOk) << c.what;
    EXPECT_EQ(out.block.size(), size) << c.what;
    EXPECT_EQ(out.back.ifd0.find(0x8825), nullptr) << c.what;
    EXPECT_EQ(out.back.exif.find(0xA005), nullptr) << c.what;
    EXPECT_EQ(out.back.ifd1.find(0x8769), nullptr) << c.what;
    EXPECT_FALSE(out.back.exif.find(0x9000) == nullptr) << c.what << ": the Exif IFD is found";
    if (!in.document.has_thumbnail()) continue;
    const std::uint32_t offset = u32_of(out.back.ifd1.find(0x0201));
    ASSERT_EQ(offset + thumbnail.size(), out.block.size()) << c.what;
    EXPECT_TRUE(std::equal(thumbnail.begin(), thumbnail.end(), out.block.begin() + offset))
        << c.what;
  }
}

TEST(ExifWriter, ReportsEveryFailureWithItsCode) {
  Read in(minimal());
  std::size_t size = 0;
  ASSERT_EQ(written_size(in.document, size), code::kOk);
  const struct {
    std::size_t bytes;
    Code expected;
  } cases[] = {
      {0, code::kMarkWriteFailed},        {3, code::kMagicWriteFailed},
      {7, code::kOffsetWriteFailed},      {40, code::kIfd0WriteFailed},
      {size - 1, code::kIfd0WriteFailed}, {size, code::kOk},
  };
  for (const auto& c : cases) {
    std::vector<std::uint8_t> block(c.bytes);
    EXPECT_EQ(write_document(in.document, block, 1, 1), c.expected) << c.bytes;
  }
}

}  // namespace
