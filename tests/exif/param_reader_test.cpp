#include "exif/param_reader.h"

#include <gtest/gtest.h>

#include <cstring>

#include "exif/tiff_builder.h"

namespace {

using namespace zkimgset::exif;
using namespace zkimgset::testing;

Code identify(const Bytes& bytes, ParamReader& reader) {
  reader.open(std::span<const std::uint8_t>(bytes));
  return reader.identify();
}

Code identify(const Bytes& bytes) {
  ParamReader reader;
  return identify(bytes, reader);
}

TEST(ParamReader, TakesOnlyExifWithTwoNulsAndTheFirstSegment) {
  TiffLayout layout;
  layout.exif = {shorts(0x9209, {1})};
  const Bytes tiff = build_tiff(layout);
  EXPECT_EQ(identify(build_jpeg({segment(0xFFE1, app1_body(tiff))})), code::kOk);
  for (const char* name : {"EXIF\0\0", "exif\0\0", "Exif\0x"})
    EXPECT_EQ(identify(build_jpeg({segment(0xFFE1, app1_body(tiff, {name, 6}))})),
              param_code::kNo0thIfd)
        << name << ": no Exif segment, and no TIFF header on the TIFF route";

  TiffLayout other;
  other.exif = {shorts(0x9209, {2})};
  ParamReader reader;
  ASSERT_EQ(identify(build_jpeg({segment(0xFFE0, {'J', 'F', 'I', 'F', 0}),
                                 segment(0xFFE1, app1_body(tiff)),
                                 segment(0xFFE1, app1_body(build_tiff(other)))}),
                     reader),
            code::kOk);
  std::uint16_t flash = 0;
  ASSERT_TRUE(
      reader.copy_value(reader.exif(), 0x9209, 3, {reinterpret_cast<std::uint8_t*>(&flash), 2}));
  EXPECT_EQ(flash, 1);
  EXPECT_EQ(reader.main_kind(), MainKind::Jpeg);
}

TEST(ParamReader, FailsOnTheJpegRouteWhenTheExifIfdIsMissing) {
  TiffLayout no_exif;
  no_exif.ifd0 = {ascii(0x010F, "Maker")};
  EXPECT_EQ(identify(exif_jpeg(no_exif)), param_code::kJpegIdentifyFailed);
  EXPECT_EQ(identify(build_tiff(no_exif)), param_code::kTiffIdentifyFailed);
  EXPECT_EQ(identify(Bytes{'n', 'o', 't', ' ', 'a', 'n', ' ', 'i', 'm', 'a', 'g', 'e'}),
            param_code::kNo0thIfd);
}

struct KindCase {
  const char* what;
  std::vector<TestEntry> ifd0;
  Code expected;
  MainKind kind;
};

TEST(ParamReader, ChecksTheMainImageStructureOfTiffFiles) {
  const KindCase cases[] = {
      {"RGB", {shorts(0x0106, {2})}, code::kOk, MainKind::InterleavedRgb},
      {"RGB chunky",
       {shorts(0x0106, {2}), shorts(0x011C, {1})},
       code::kOk,
       MainKind::InterleavedRgb},
      {"RGB planar", {shorts(0x0106, {2}), shorts(0x011C, {2})}, code::kOk, MainKind::PlanarRgb},
      {"RGB planar 3", {shorts(0x0106, {2}), shorts(0x011C, {3})}, 1202, MainKind::Unknown},
      {"planar as LONG", {shorts(0x0106, {2}), longs(0x011C, {1})}, 1202, MainKind::Unknown},
      {"YCbCr", {shorts(0x0106, {6}), shorts(0x0212, {2, 1})}, code::kOk, MainKind::YCbCr},
      {"YCbCr, no subsampling", {shorts(0x0106, {6})}, 1202, MainKind::Unknown},
      {"YCbCr, one subsampling",
       {shorts(0x0106, {6}), shorts(0x0212, {2})},
       1202,
       MainKind::Unknown},
      {"black is zero", {shorts(0x0106, {1})}, 1202, MainKind::Unknown},
      {"photometric as LONG", {longs(0x0106, {2})}, code::kOk, MainKind::InterleavedRgb},
      {"photometric as RATIONAL", {rational(0x0106, 2, 1)}, 1202, MainKind::Unknown},
      {"no photometric", {}, 1202, MainKind::Unknown},
  };
  for (const auto& c : cases) {
    TiffLayout layout;
    layout.ifd0 = c.ifd0;
    layout.exif = {shorts(0x9209, {0})};
    ParamReader reader;
    EXPECT_EQ(identify(build_tiff(layout), reader), c.expected) << c.what;
    if (c.expected == code::kOk) {
      EXPECT_EQ(reader.main_kind(), c.kind) << c.what;
    }
  }
}

TEST(ParamReader, RefusesJpegThumbnailsOf64KiBOrMore) {
  const struct {
    std::vector<TestEntry> ifd1;
    Code expected;
    ThumbnailKind kind;
  } cases[] = {
      {{longs(0x0201, {4000}), longs(0x0202, {65535})}, code::kOk, ThumbnailKind::Jpeg},
      {{longs(0x0201, {4000}), longs(0x0202, {65536})}, 1007, ThumbnailKind::Jpeg},
      {{longs(0x0201, {4000}), shorts(0x0202, {65535})}, code::kOk, ThumbnailKind::Jpeg},
      {{shorts(0x0201, {4000}), shorts(0x0106, {2})}, code::kOk, ThumbnailKind::Rgb},
      {{shorts(0x0106, {2}), shorts(0x011C, {2})}, code::kOk, ThumbnailKind::PlanarRgb},
      {{shorts(0x0106, {2}), longs(0x011C, {2})}, 1202, ThumbnailKind::Rgb},
      {{shorts(0x0106, {6})}, code::kOk, ThumbnailKind::YCbCr},
      {{shorts(0x0106, {1})}, 1202, ThumbnailKind::None},
      {{shorts(0x0100, {160})}, code::kOk, ThumbnailKind::None},
  };
  for (const auto& c : cases) {
    TiffLayout layout;
    layout.exif = {shorts(0x9209, {0})};
    layout.ifd1 = c.ifd1;
    ParamReader reader;
    EXPECT_EQ(identify(exif_jpeg(layout), reader), c.expected);
    EXPECT_EQ(reader.thumbnail_kind(), c.kind);
  }
}

TEST(ParamReader, ReadsExifVersionWithItsCodes) {
  const struct {
    TestEntry version;
    std::size_t buffer;
    Code expected;
  } cases[] = {
      {undefined(0x9000, {'0', '2', '3', '0'}), 4, code::kOk},
      {undefined(0x9000, {'0', '2', '3', '0'}), 3, 1000},
      {undefined(0x9001, {'0', '2', '3', '0'}), 4, 1203},
      {ascii(0x9000, "023"), 4, 1205},
      {undefined(0x9000, {'0', '2', '3'}), 4, 1206},
  };
  for (const auto& c : cases) {
    TiffLayout layout;
    layout.exif = {c.version};
    ParamReader reader;
    const Bytes jpeg = exif_jpeg(layout);  // the reader reads it until the end
    ASSERT_EQ(identify(jpeg, reader), code::kOk);
    std::uint8_t buffer[4] = {};
    EXPECT_EQ(reader.read_exif_version({buffer, c.buffer}), c.expected);
    if (c.expected == code::kOk) {
      EXPECT_EQ(std::memcmp(buffer, "0230", 4), 0);
    }
  }
  ParamReader unread;
  std::uint8_t buffer[4];
  EXPECT_EQ(unread.read_exif_version(buffer), param_code::kNoExifIfd);
}

TEST(ParamReader, LooksUpTheFirstOccurrenceAndCopiesOnlyWhatFits) {
  for (const Order order : {Order::Little, Order::Big}) {
    TiffLayout layout;
    layout.order = order;
    layout.exif = {shorts(0x9209, {7}), shorts(0x9209, {9}), shorts(0x8827, {100, 200, 300}),
                   longs(0x9208, {5}), raw_entry(0x9203, 10, 1, 0x7FFFFFF0)};
    ParamReader reader;
    const Bytes jpeg = exif_jpeg(layout);  // the reader reads it until the end
    ASSERT_EQ(identify(jpeg, reader), code::kOk);
    std::uint16_t two[2] = {0xEEEE, 0xEEEE};
    auto* bytes = reinterpret_cast<std::uint8_t*>(two);
    EXPECT_TRUE(reader.copy_value(reader.exif(), 0x9209, 3, {bytes, 2}));
    EXPECT_EQ(two[0], 7);
    EXPECT_EQ(two[1], 0xEEEE);
    EXPECT_TRUE(reader.copy_value(reader.exif(), 0x8827, 3, {bytes, 4}));
    EXPECT_EQ(two[0], 100);
    EXPECT_EQ(two[1], 200) << "six bytes of value, four of room";
    EXPECT_FALSE(reader.copy_value(reader.exif(), 0x9208, 3, {bytes, 2})) << "LONG, not SHORT";
    EXPECT_THROW(reader.copy_value(reader.exif(), 0x9203, 10, {bytes, 4}), ExifError)
        << "a value past the end fails the walk";
  }
}

}  // namespace
