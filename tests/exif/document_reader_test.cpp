// The document reader's TIFF checks on files built to order; broken files
// are the corpus test's (real and hostile files, each with its code).
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

// One row per kind of check: a tag that must be present, a value that must
// be one of a few (and the values it accepts), a row count that must not be 0.
TEST(DocumentReader, RunsTheTiffChecks) {
  constexpr std::uint32_t kGone = ~0u;  // the tag removed; 0x5000000: no Exif pointer
  const struct {
    std::uint16_t tag;
    std::uint32_t value;
    Code expected;
  } cases[] = {{0x8769, kGone, 0x5000000}, {0x0100, kGone, 0x7000000},
               {0x0103, 5, 0x7000003},     {0x0103, 6, 0},
               {0x0106, 1, 0x7000004},     {0x0106, 6, 0},
               {0x0116, 0, 0x7000007}};
  for (const auto& c : cases) {
    TiffLayout layout = camera_tiff();
    if (c.tag == 0x8769) layout.exif.clear();
    for (auto it = layout.ifd0.begin(); it != layout.ifd0.end(); ++it) {
      if (it->tag != c.tag) continue;
      if (c.value == kGone)
        layout.ifd0.erase(it);
      else
        *it = shorts(c.tag, {c.value});
      break;
    }
    ExifDocument document;
    EXPECT_EQ(read_document(document, build_tiff(layout)), c.expected) << std::hex << c.tag;
  }
  ExifDocument missing;
  EXPECT_EQ(read_document(missing, "/no/such/photo.jpg"), code::kOpenFailed);
  EXPECT_EQ(read_document(missing, static_cast<const char*>(nullptr)), code::kMissingArgument);
}

}  // namespace
