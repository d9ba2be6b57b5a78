// The document reader on files built to order: what its walk keeps and
// skips, the TIFF checks in their order, the codes of broken files, and the
// dump. Real and hostile files are the corpus test's.
#include <gtest/gtest.h>

#include <string>

#include "exif/exif_document.h"
#include "exif/tiff_builder.h"

namespace {

using namespace zkimgset::exif;
using namespace zkimgset::testing;

TiffLayout camera_tiff() {
  TiffLayout layout;
  layout.ifd0 = rgb_tiff_ifd0();
  layout.exif = minimal_exif_ifd();
  return layout;
}

// Entries it cannot use, pointers that lead outside or back, and a thumbnail
// that passes the block: the walk reads on and reads each directory once.
TEST(DocumentReader, KeepsWhatItCanReadAndSkipsTheRest) {
  TiffLayout layout = camera_tiff();
  layout.exif.push_back(raw_entry(0x9209, 13, 1, 7));          // type 13
  layout.exif.push_back(raw_entry(0x9208, 3, 0, 7));           // count 0
  layout.exif.push_back(raw_entry(0xA401, 4, 0x40000000, 0));  // 4 x 2^30 overflows
  layout.exif.push_back(shorts(0xA402, {5}));
  layout.exif.push_back(raw_entry(0xA005, 4, 1, 8));  // interoperability = the 0th
  layout.gps = {shorts(0x0001, {1})};
  layout.ifd0.push_back(raw_entry(0x8825, 4, 1, 0x7FFFFFF0));  // GPS far outside
  layout.ifd1 = {shorts(0x0103, {6})};
  layout.thumbnail = {0xFF, 0xD8, 1, 2, 3, 0xFF, 0xD9};
  for (const bool past : {false, true}) {
    TiffLayout file = layout;
    if (past) file.ifd1.push_back(longs(0x0202, {8}));  // one byte past the block
    ExifDocument document;
    ASSERT_EQ(read_document(document, exif_jpeg(file)), code::kOk);
    EXPECT_EQ(document.exif.find(0x9209), nullptr);
    EXPECT_EQ(document.exif.find(0x9208), nullptr);
    EXPECT_EQ(document.exif.find(0xA401), nullptr);
    EXPECT_NE(document.exif.find(0xA402), nullptr) << "the directory goes on after them";
    EXPECT_FALSE(document.gps.present());
    EXPECT_EQ(document.interop.size(), document.ifd0.size());
    EXPECT_EQ(document.thumbnail, past ? Bytes{} : file.thumbnail) << past;
    EXPECT_TRUE(document.ifd1.present());
  }
}

TEST(DocumentReader, TakesTheFirstApp1NamedExifInAnyLetterCase) {
  TiffLayout first, second;
  first.exif = {shorts(0x9209, {1})};
  second.exif = {shorts(0x9209, {2})};
  for (const char* name : {"Exif\0\0", "EXIF\0\0", "eXiF\0\0"}) {
    ExifDocument document;
    ASSERT_EQ(read_document(document,
                            build_jpeg({segment(0xFFE1, app1_body(build_tiff(first), {name, 6})),
                                        segment(0xFFE1, app1_body(build_tiff(second)))})),
              code::kOk)
        << name;
    EXPECT_EQ(document.exif.find(0x9209)->value[0], 1) << name;
    EXPECT_EQ(document.segments.count(0xFFDA), 1u) << "the SOS header is kept";
  }
}

TEST(DocumentReader, RunsTheTiffChecksInTheirOrder) {
  constexpr std::uint32_t kGone = ~0u;  // the tag removed; 0x5000000: no Exif pointer
  const struct {
    std::uint16_t tag;
    std::uint32_t value;
    Code expected;
  } cases[] = {{0x8769, kGone, 0x5000000}, {0x0100, kGone, 0x7000000},
               {0x0101, kGone, 0x7000001}, {0x0102, kGone, 0x7000002},
               {0x0103, 5, 0x7000003},     {0x0103, 6, 0},
               {0x0106, 1, 0x7000004},     {0x0106, 6, 0},
               {0x0111, kGone, 0x7000005}, {0x0115, 4, 0x7000006},
               {0x0116, 0, 0x7000007}};
  for (const auto& c : cases) {
    TiffLayout layout = camera_tiff();
    if (c.tag == 0x8769) layout.exif.clear();
    for (auto it = layout.ifd0.begin(); it != layout.ifd0.end(); ++it) {
      if (it->tag != c.tag) continue;
      if (c.value == kGone)
        layout.ifd0.erase(it);
      else
        it->numbers = {c.value};
      break;
    }
    ExifDocument document;
    EXPECT_EQ(read_document(document, build_tiff(layout)), c.expected) << std::hex << c.tag;
  }
}

TEST(DocumentReader, RefusesBrokenFilesWithTheirCodes) {
  const Bytes tiff = build_tiff(camera_tiff());
  const Bytes good_jpeg = exif_jpeg(camera_tiff());
  Bytes far = tiff;
  far[4] = 0xF0;  // the 0th IFD past the end
  const struct {
    const char* what;
    Bytes bytes;
    Code expected;
  } cases[] = {
      {"empty", {}, code::kNotTiffOrJpeg},
      {"no SOI", {0xFF, 0xD9, 0xFF, 0xE1}, code::kNotTiffOrJpeg},
      {"II without 42", {'I', 'I', 43, 0, 8, 0, 0, 0}, code::kNotTiffOrJpeg},
      {"header cut short", {'M', 'M', 0, 42, 0}, code::kNotTiffOrJpeg},
      {"no APP1", build_jpeg({segment(0xFFE0, {'J', 'F', 'I', 'F', 0})}), code::kNotTiffOrJpeg},
      {"APP1 named Exiv", build_jpeg({segment(0xFFE1, app1_body(tiff, {"Exiv\0\0", 6}))}),
       code::kNotTiffOrJpeg},
      {"zero segment length", {0xFF, 0xD8, 0xFF, 0xE1, 0, 0}, code::kNotTiffOrJpeg},
      {"JPEG cut in its APP1", Bytes(good_jpeg.begin(), good_jpeg.begin() + 30),
       code::kNotTiffOrJpeg},
      {"TIFF cut after its header", Bytes(tiff.begin(), tiff.begin() + 8), code::kTiffWithoutExif},
      // The header was read; the missing 0th IFD only lacks the Exif pointer.
      {"0th IFD past the end", build_jpeg({segment(0xFFE1, app1_body(far))}),
       code::kJpegWithoutExif}};
  for (const auto& c : cases) {
    ExifDocument document;
    EXPECT_EQ(read_document(document, c.bytes), c.expected) << c.what;
  }
  ExifDocument missing;
  EXPECT_EQ(read_document(missing, "/no/such/photo.jpg"), code::kOpenFailed);
  EXPECT_EQ(read_document(missing, static_cast<const char*>(nullptr)), code::kMissingArgument);
}

// The dump (a debugging aid no export uses) fails as its stream does.
TEST(DocumentDump, FailsWhenItsStreamIsFull) {
  ExifDocument document;
  ASSERT_EQ(read_document(document, exif_jpeg(camera_tiff())), code::kOk);
  std::vector<std::uint8_t> small(70);
  ExifFileStream cut;
  cut.open_memory(std::span<std::uint8_t>(small));
  EXPECT_EQ(dump_document(document, cut), code::kWriteFailed);
}

}  // namespace
