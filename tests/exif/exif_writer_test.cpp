// The Exif writer, whose block only the source-mark check reads (the corpus
// test runs both over every camera file, the writer's fuzz replay checks the
// round trip and writes into blocks a byte short): pointers that stay true.
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

// A document read from a built Exif JPEG.
struct Read : ExifDocument {
  explicit Read(const TiffLayout& layout) {
    EXPECT_EQ(read_document(*this, exif_jpeg(layout)), code::kOk);
  }
};

// Writes a document and reads the block back (its TIFF checks fail, as the
// writer removes the image-structure tags, but its directories are read).
struct Written {
  explicit Written(ExifDocument& document) {
    std::size_t size = 0;
    EXPECT_EQ(written_size(document, size), code::kOk);
    block.assign(size, 0xEE);  // not zeroed: the writer must write its pads
    EXPECT_EQ(write_document(document, block, 640, 480), code::kOk);
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

TiffLayout minimal() {
  TiffLayout layout;
  layout.ifd0 = {ascii(0x010F, "Maker"), shorts(0x0100, {64}), shorts(0x0106, {2})};
  layout.exif = minimal_exif_ifd();
  return layout;
}

// Tags the writer fills in, in whatever form the file gave them, and
// pointers to directories that are empty: the written block stays well
// formed (every pointer leads to its directory, the thumbnail offset to the
// thumbnail) and a directory never outgrows its 16-bit count.
TEST(ExifWriter, KeepsEveryPointerTrueWhateverTheFileHeld) {
  const std::vector<std::uint8_t> long_pair(8, 0);
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
               {"interoperability pointer of count 2 without its directory",
                [&](ExifDocument& d) { d.exif.add(0xA005, 4, 2, long_pair); }, code::kOk},
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
    EXPECT_EQ(out.back.exif.find(0xA005), nullptr) << c.what;
    EXPECT_NE(out.back.exif.find(0x9000), nullptr) << c.what << ": the Exif IFD is found";
    if (!in.has_thumbnail()) continue;
    const std::uint32_t offset = u32_of(out.back.ifd1.find(0x0201));
    ASSERT_EQ(offset + thumbnail.size(), out.block.size()) << c.what;
    EXPECT_TRUE(std::equal(thumbnail.begin(), thumbnail.end(), out.block.begin() + offset))
        << c.what;
  }
}

}  // namespace
