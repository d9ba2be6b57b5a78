// The Exif writer keeps every pointer true, whatever form the file gave it:
// out-of-line thumbnail pointers once left the thumbnail offset 8 bytes
// off, and pointers to empty GPS or Interoperability directories were kept,
// pointing at garbage.
#include "exif/exif_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "exif/tiff_builder.h"

namespace {

using namespace zkimgset::exif;
using namespace zkimgset::testing;

std::uint32_t u32_of(const ExifTag* tag) {
  std::uint32_t value = 0;
  if (tag != nullptr)
    std::memcpy(&value, tag->value.data(), std::min(sizeof value, tag->value.size()));
  return value;
}

TEST(ExifWriter, KeepsEveryPointerTrueWhateverTheFileHeld) {
  const std::vector<std::uint8_t> long_pair(8, 0), eight = {8, 0, 0, 0};
  const Bytes thumbnail = {0xFF, 0xD8, 0xAA, 0xBB, 0xFF, 0xD9};
  const struct {
    const char* what;
    std::function<void(ExifDocument&)> change;
  } cases[] = {{"thumbnail pointers of count 2",
                [&](ExifDocument& d) {
                  d.thumbnail = thumbnail;
                  d.ifd1.add(0x0201, 4, 2, long_pair);
                  d.ifd1.add(0x0202, 4, 2, long_pair);
                }},
               {"GPS pointer without a GPS directory",
                [&](ExifDocument& d) { d.ifd0.add(0x8825, 4, 1, eight); }},
               {"interoperability pointer of count 2 without its directory",
                [&](ExifDocument& d) { d.exif.add(0xA005, 4, 2, long_pair); }},
               {"Exif pointer in the 1st IFD", [&](ExifDocument& d) {
                  d.thumbnail = thumbnail;
                  d.ifd1.add(0x8769, 4, 1, eight);
                }}};
  TiffLayout layout;
  layout.ifd0 = {ascii(0x010F, "Maker"), shorts(0x0100, {64}), shorts(0x0106, {2})};
  layout.exif = {undefined(0x9000, {'0', '2', '2', '0'})};
  for (const auto& c : cases) {
    ExifDocument in;
    ASSERT_EQ(read_document(in, exif_jpeg(layout)), code::kOk);
    c.change(in);
    std::size_t size = 0;
    ASSERT_EQ(written_size(in, size), code::kOk) << c.what;
    std::vector<std::uint8_t> block(size, 0xEE);
    ASSERT_EQ(write_document(in, block, 640, 480), code::kOk) << c.what;
    ExifDocument back;
    read_document(back, block);  // its TIFF checks fail; its directories are read
    EXPECT_EQ(back.ifd0.find(0x8825), nullptr) << c.what;
    EXPECT_EQ(back.exif.find(0xA005), nullptr) << c.what;
    EXPECT_EQ(back.ifd1.find(0x8769), nullptr) << c.what;
    EXPECT_NE(back.exif.find(0x9000), nullptr) << c.what << ": the Exif IFD is found";
    if (!in.has_thumbnail()) continue;
    const std::uint32_t offset = u32_of(back.ifd1.find(0x0201));
    ASSERT_EQ(offset + thumbnail.size(), block.size()) << c.what;
    EXPECT_TRUE(std::equal(thumbnail.begin(), thumbnail.end(), block.begin() + offset)) << c.what;
  }
}

}  // namespace
