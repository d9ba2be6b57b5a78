#include "exif/param_reader.h"

#include <gtest/gtest.h>

#include <cstring>

#include "exif/tiff_builder.h"

namespace {

using namespace zkimgset::exif;
using namespace zkimgset::testing;

// The reader reads values from the bytes later: keep them alive with it.
struct Identified {
  explicit Identified(Bytes file) : bytes(std::move(file)) {
    reader.open(std::span<const std::uint8_t>(bytes));
    code = reader.identify();
  }
  Bytes bytes;
  ParamReader reader;
  Code code;
};

TEST(ParamReader, TakesTheFirstSegmentNamedExifWithTwoNulsOnly) {
  TiffLayout layout, other;
  layout.exif = {shorts(0x9209, {1})};
  other.exif = {shorts(0x9209, {2})};
  const Bytes tiff = build_tiff(layout);
  for (const char* name : {"EXIF\0\0", "exif\0\0", "Exif\0x"})
    EXPECT_EQ(Identified(build_jpeg({segment(0xFFE1, app1_body(tiff, {name, 6}))})).code,
              param_code::kNo0thIfd)
        << name << ": no Exif segment, and no TIFF header on the TIFF route";
  Identified two(
      build_jpeg({segment(0xFFE0, {'J', 'F', 'I', 'F', 0}), segment(0xFFE1, app1_body(tiff)),
                  segment(0xFFE1, app1_body(build_tiff(other)))}));
  ASSERT_EQ(two.code, code::kOk);
  std::uint16_t flash = 0;
  ASSERT_TRUE(two.reader.copy_value(two.reader.exif(), 0x9209, 3,
                                    {reinterpret_cast<std::uint8_t*>(&flash), 2}));
  EXPECT_EQ(flash, 1);
  EXPECT_EQ(two.reader.main_kind(), MainKind::Jpeg);

  TiffLayout no_exif;
  no_exif.ifd0 = {ascii(0x010F, "Maker")};
  EXPECT_EQ(Identified(exif_jpeg(no_exif)).code, param_code::kJpegIdentifyFailed);
  EXPECT_EQ(Identified(build_tiff(no_exif)).code, param_code::kTiffIdentifyFailed);
  EXPECT_EQ(Identified(Bytes{'n', 'o', 't'}).code, param_code::kNo0thIfd);
}

TEST(ParamReader, ChecksTheMainImageStructureOfTiffFiles) {
  const struct {
    const char* what;
    std::vector<TestEntry> ifd0;
    Code expected;
    MainKind kind;
  } cases[] = {
      {"RGB", {shorts(0x0106, {2})}, code::kOk, MainKind::InterleavedRgb},
      {"RGB chunky", {shorts(0x0106, {2}), shorts(0x011C, {1})}, 0, MainKind::InterleavedRgb},
      {"RGB planar", {shorts(0x0106, {2}), shorts(0x011C, {2})}, 0, MainKind::PlanarRgb},
      {"RGB planar 3", {shorts(0x0106, {2}), shorts(0x011C, {3})}, 1202, MainKind::Unknown},
      {"planar as LONG", {shorts(0x0106, {2}), longs(0x011C, {1})}, 1202, MainKind::Unknown},
      {"YCbCr", {shorts(0x0106, {6}), shorts(0x0212, {2, 1})}, 0, MainKind::YCbCr},
      {"YCbCr, no subsampling", {shorts(0x0106, {6})}, 1202, MainKind::Unknown},
      {"YCbCr, one subsampling",
       {shorts(0x0106, {6}), shorts(0x0212, {2})},
       1202,
       MainKind::Unknown},
      {"black is zero", {shorts(0x0106, {1})}, 1202, MainKind::Unknown},
      {"photometric as LONG", {longs(0x0106, {2})}, code::kOk, MainKind::InterleavedRgb},
      {"photometric as RATIONAL", {rational(0x0106, 2, 1)}, 1202, MainKind::Unknown},
      {"no photometric", {}, 1202, MainKind::Unknown}};
  for (const auto& c : cases) {
    TiffLayout layout;
    layout.ifd0 = c.ifd0;
    layout.exif = {shorts(0x9209, {0})};
    const Identified file(build_tiff(layout));
    EXPECT_EQ(file.code, c.expected) << c.what;
    if (c.expected == code::kOk) {
      EXPECT_EQ(file.reader.main_kind(), c.kind) << c.what;
    }
  }
}

TEST(ParamReader, RefusesJpegThumbnailsOf64KiBOrMore) {
  const struct {
    std::vector<TestEntry> ifd1;
    Code expected;
    ThumbnailKind kind;
  } cases[] = {{{longs(0x0201, {4000}), longs(0x0202, {65535})}, code::kOk, ThumbnailKind::Jpeg},
               {{longs(0x0201, {4000}), longs(0x0202, {65536})}, 1007, ThumbnailKind::Jpeg},
               {{longs(0x0201, {4000}), shorts(0x0202, {65535})}, code::kOk, ThumbnailKind::Jpeg},
               {{shorts(0x0201, {4000}), shorts(0x0106, {2})}, code::kOk, ThumbnailKind::Rgb},
               {{shorts(0x0106, {2}), shorts(0x011C, {2})}, code::kOk, ThumbnailKind::PlanarRgb},
               {{shorts(0x0106, {2}), longs(0x011C, {2})}, 1202, ThumbnailKind::Rgb},
               {{shorts(0x0106, {6})}, code::kOk, ThumbnailKind::YCbCr},
               {{shorts(0x0106, {1})}, 1202, ThumbnailKind::None},
               {{shorts(0x0100, {160})}, code::kOk, ThumbnailKind::None}};
  for (const auto& c : cases) {
    TiffLayout layout;
    layout.exif = {shorts(0x9209, {0})};
    layout.ifd1 = c.ifd1;
    const Identified file(exif_jpeg(layout));
    EXPECT_EQ(file.code, c.expected);
    EXPECT_EQ(file.reader.thumbnail_kind(), c.kind);
  }
}

TEST(ParamReader, ReadsExifVersionWithItsCodes) {
  const struct {
    TestEntry version;
    std::size_t buffer;
    Code expected;
  } cases[] = {{undefined(0x9000, {'0', '2', '3', '0'}), 4, code::kOk},
               {undefined(0x9000, {'0', '2', '3', '0'}), 3, 1000},
               {undefined(0x9001, {'0', '2', '3', '0'}), 4, 1203},
               {ascii(0x9000, "023"), 4, 1205},
               {undefined(0x9000, {'0', '2', '3'}), 4, 1206}};
  for (const auto& c : cases) {
    TiffLayout layout;
    layout.exif = {c.version};
    Identified file(exif_jpeg(layout));
    ASSERT_EQ(file.code, code::kOk);
    std::uint8_t buffer[4] = {};
    EXPECT_EQ(file.reader.read_exif_version({buffer, c.buffer}), c.expected);
    if (c.expected == code::kOk) {
      EXPECT_EQ(std::memcmp(buffer, "0230", 4), 0);
    }
  }
  ParamReader unread;
  std::uint8_t buffer[4];
  EXPECT_EQ(unread.read_exif_version(buffer), param_code::kNoExifIfd);
}

}  // namespace
