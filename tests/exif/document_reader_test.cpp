// The document reader on files built to order: the TIFF checks in their
// order and the codes of broken files. Real and hostile files are the corpus
// test's; what the walk skips shows in the parameter tests' outcomes.
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
