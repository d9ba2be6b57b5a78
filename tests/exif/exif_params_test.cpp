#include "exif/exif_params.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "exif/tiff_builder.h"
#include "support/temp_folder.h"

namespace {

using namespace zkimgset::testing;
using zkimgset::LibraryState;
namespace exif = zkimgset::exif;

ExifParamEx filled_with(std::uint8_t byte) {
  ExifParamEx record;
  std::memset(&record, byte, sizeof record);
  return record;
}

// A camera JPEG; the golden test checks every field on real files.
TiffLayout camera() {
  TiffLayout layout;
  layout.ifd0 = {ascii(0x010F, "Maker Co"), ascii(0x0110, "Model 7")};
  layout.exif = {
      rational(0x829A, 1, 125),   shorts(0x8827, {200}),  undefined(0x9000, {'0', '2', '2', '0'}),
      srational(0x9203, -25, 10), shorts(0x9209, {16}),   longs(0xA002, {640}),
      longs(0xA003, {480}),       rational(0xA404, 3, 2), shorts(0xA40A, {2})};
  return layout;
}

class GetExifParam : public ::testing::Test {
 protected:
  std::string file(const Bytes& bytes) {
    return folder_.write("photo" + std::to_string(files_++) + ".jpg",
                         std::string(bytes.begin(), bytes.end()));
  }
  int get(const Bytes& bytes, ExifParamEx& out) {
    return exif::get_exif_param_ex(state_, file(bytes).c_str(), &out);
  }
  LibraryState state_;
  TempFolder folder_;
  int files_ = 0;
};

// What the golden test's real files cannot show: a count that would spill
// into the next field, a text cut to its room, a tag listed twice.
TEST_F(GetExifParam, BoundsEachFieldToItsRoom) {
  TiffLayout layout = camera();
  for (TestEntry& e : layout.exif)
    if (e.tag == 0x8827) e = shorts(0x8827, {100, 400, 800});
  layout.ifd0 = {ascii(0x010F, std::string(300, 'M'))};
  layout.exif.insert(layout.exif.begin(), shorts(0xA40A, {1}));  // listed twice: the first wins
  ExifParamEx out = filled_with(0xEE);
  ASSERT_EQ(get(exif_jpeg(layout), out), ZKIMGSET_OK);
  EXPECT_EQ(out.param.Sharpness, 1);
  EXPECT_EQ(out.shot.ISOSpeedRatings, 100);
  EXPECT_EQ(out.shot.reserved1, 400) << "ISOSpeedRatings owns the two bytes after it";
  EXPECT_EQ(out.shot.ExposureTime_num, 1u) << "and nothing more";
  EXPECT_EQ(std::strlen(out.shot.Make), 259u);
  EXPECT_STREQ(out.shot.Model, "");
}

// Thousands of comments before the Exif segment: read past, never refused.
Bytes after_many_comments(const TiffLayout& layout) {
  Bytes comments;
  for (int i = 0; i < 5000; ++i) comments.insert(comments.end(), {0xFF, 0xFE, 0x00, 0x02});
  Bytes file = exif_jpeg(layout);
  file.insert(file.begin() + 2, comments.begin(), comments.end());
  return file;
}

// Variations of the camera file: its 1st IFD; as an RGB TIFF, the entries
// given in place of those of the same tag, less the tag `without`.
Bytes with_1st_ifd(std::vector<TestEntry> ifd1) {
  TiffLayout layout = camera();
  layout.ifd1 = std::move(ifd1);
  return exif_jpeg(layout);
}
Bytes tiff_with(std::vector<TestEntry> structure, std::uint16_t without = 0) {
  TiffLayout layout = camera();
  layout.ifd0 = rgb_tiff_ifd0();
  layout.ifd0.push_back(ascii(0x010F, "Maker"));
  std::erase_if(layout.ifd0, [&](const TestEntry& e) {
    return e.tag == without || std::any_of(structure.begin(), structure.end(),
                                           [&](const TestEntry& s) { return s.tag == e.tag; });
  });
  layout.ifd0.insert(layout.ifd0.end(), structure.begin(), structure.end());
  return build_tiff(layout);
}
// The structure is read from the file, its offsets counted from its start,
// so a value may lie past the Exif segment (here in a comment after it).
Bytes value_past_the_segment() {
  TiffLayout layout = camera();
  layout.order = Order::Big;
  std::erase_if(layout.exif, [](const TestEntry& e) { return e.tag == 0xA404; });
  layout.exif.push_back(raw_entry(0xA404, 5, 1, 0));
  const auto past = static_cast<std::uint32_t>(build_tiff(layout).size() + 4);
  layout.exif.back() = raw_entry(0xA404, 5, 1, past);
  return build_jpeg(
      {segment(0xFFE1, app1_body(build_tiff(layout))), segment(0xFFFE, {0, 0, 0, 7, 0, 0, 0, 2})});
}

// The parameter stage refuses what it cannot read (NO_EXIF, the record's
// defaults), the block stage what it cannot write (FILE_ERROR, the values) or
// finds marked (SOURCE_MARK, which turns Exif set-up off). Files without Exif
// and broken files are the corpus test's.
TEST_F(GetExifParam, ReturnsTheStatusAndRecordOfEveryOutcome) {
  TiffLayout no_dimension = camera();
  std::erase_if(no_dimension.exif, [](const TestEntry& e) { return e.tag == 0xA003; });
  TiffLayout bad_offset = camera();
  std::erase_if(bad_offset.exif, [](const TestEntry& e) { return e.tag == 0xA404; });
  bad_offset.exif.push_back(raw_entry(0xA404, 5, 1, 0x7FFFFFF0));
  TiffLayout other = camera();
  other.exif.front() = rational(0x829A, 1, 2);
  TiffLayout marked = camera();
  marked.exif.push_back(undefined(0xA301, {3}));
  // Entries of unknown type, of count 0 or of an overflowing size, and a
  // directory pointing back at the 0th: the walk reads on, each directory once.
  TiffLayout skipped = marked;
  skipped.exif.insert(skipped.exif.begin(),
                      {raw_entry(0x9210, 13, 1, 7), raw_entry(0x9211, 3, 0, 7),
                       raw_entry(0x9212, 4, 0x40000000, 0), raw_entry(0xA005, 4, 1, 8)});
  // 65535 tags and no ExifVersion (a TIFF: too much for an APP1 segment): the
  // writer's directory has no room for the default it adds.
  TiffLayout crowded = camera();
  crowded.ifd0 = rgb_tiff_ifd0();
  crowded.ifd0.push_back(ascii(0x010F, "Maker"));
  std::erase_if(crowded.exif, [](const TestEntry& e) { return e.tag == 0x9000; });
  for (std::uint32_t n = 1; crowded.exif.size() < 65535; ++n)
    if (n != 0x9000 && std::none_of(crowded.exif.begin(), crowded.exif.begin() + 8,
                                    [&](const TestEntry& e) { return e.tag == n; }))
      crowded.exif.push_back(undefined(static_cast<std::uint16_t>(n), {1}));
  constexpr int kOk = ZKIMGSET_OK, kNo = ZKIMGSET_NO_EXIF, kMark = ZKIMGSET_SOURCE_MARK;
  const TestEntry rgb = shorts(0x0106, {2}), ycc = shorts(0x0106, {6});

  enum class Out { Untouched, Defaults, Values };
  const struct {
    const char* what;
    Bytes file;
    int status;
    Out out;
  } cases[] = {
      {"camera JPEG", exif_jpeg(camera()), kOk, Out::Values},
      {"5000 comments before the Exif segment", after_many_comments(camera()), kOk, Out::Values},
      {"two Exif segments: the first counts",
       build_jpeg({segment(0xFFE0, {'J', 'F', 'I', 'F', 0}),
                   segment(0xFFE1, app1_body(build_tiff(camera()))),
                   segment(0xFFE1, app1_body(build_tiff(other)))}),
       kOk, Out::Values},
      {"APP1 named Exif without its second NUL",
       build_jpeg({segment(0xFFE1, app1_body(build_tiff(camera()), {"Exif\0x", 6}))}), kNo,
       Out::Defaults},
      {"a value past the Exif segment", value_past_the_segment(), kOk, Out::Values},
      {"no PixelYDimension", exif_jpeg(no_dimension), ZKIMGSET_FILE_ERROR, Out::Values},
      {"an Exif IFD too full to write", build_tiff(crowded), ZKIMGSET_FILE_ERROR, Out::Values},
      {"rational past the end", exif_jpeg(bad_offset), kNo, Out::Untouched},
      // A JPEG thumbnail below 64 KiB, or a thumbnail of a known structure.
      {"thumbnail of 65536 bytes", with_1st_ifd({longs(0x0201, {0}), longs(0x0202, {65536})}), kNo,
       Out::Defaults},
      {"thumbnail of 65535 bytes",
       with_1st_ifd({raw_entry(0x0201, 4, 1, 0), longs(0x0202, {65535})}), kOk, Out::Values},
      {"RGB thumbnail", with_1st_ifd({shorts(0x0201, {4000}), rgb}), kOk, Out::Values},
      {"thumbnail planar configuration as LONG", with_1st_ifd({rgb, longs(0x011C, {2})}), kNo,
       Out::Defaults},
      {"YCbCr thumbnail", with_1st_ifd({ycc}), kOk, Out::Values},
      {"black-is-zero thumbnail", with_1st_ifd({shorts(0x0106, {1})}), kNo, Out::Defaults},
      {"thumbnail of no known kind", with_1st_ifd({shorts(0x0100, {160})}), kOk, Out::Values},
      // A TIFF's image structure, read by both stages.
      {"planar RGB TIFF", tiff_with({shorts(0x011C, {2})}), kOk, Out::Values},
      {"planar configuration as LONG", tiff_with({longs(0x011C, {1})}), kNo, Out::Defaults},
      {"YCbCr TIFF", tiff_with({ycc, shorts(0x0212, {2, 1})}), kOk, Out::Values},
      {"YCbCr with one subsampling value", tiff_with({ycc, shorts(0x0212, {2})}), kNo,
       Out::Defaults},
      {"photometric as LONG", tiff_with({longs(0x0106, {2})}), kOk, Out::Values},
      {"photometric as RATIONAL", tiff_with({rational(0x0106, 2, 1)}), kNo, Out::Defaults},
      {"TIFF without ImageWidth", tiff_with({}, 0x0100), ZKIMGSET_FILE_ERROR, Out::Values},
      {"TIFF of compression 5", tiff_with({shorts(0x0103, {5})}), ZKIMGSET_FILE_ERROR, Out::Values},
      {"TIFF of compression 6", tiff_with({shorts(0x0103, {6})}), kOk, Out::Values},
      {"TIFF of no rows a strip", tiff_with({shorts(0x0116, {0})}), ZKIMGSET_FILE_ERROR,
       Out::Values},
      {"scene type 3 between empty segments",
       build_jpeg({segment(0xFFFE, {}), segment(0xFFE1, app1_body(build_tiff(marked))),
                   segment(0xFFEF, {})}),
       kMark, Out::Values},
      {"scene type 3 after entries to skip", exif_jpeg(skipped), kMark, Out::Values}};
  for (const auto& c : cases) {
    state_.ExifSetupEnabled = 0;
    const std::string path = file(c.file);
    ExifParamEx out = filled_with(0xEE);
    EXPECT_EQ(exif::get_exif_param_ex(state_, path.c_str(), &out), c.status) << c.what;
    EXPECT_EQ(state_.ExifSetupEnabled, c.status == kMark ? 0 : 1) << c.what;
    // The basic record is the extended one's beginning.
    ExifParam basic;
    std::memset(&basic, 0xEE, sizeof basic);
    EXPECT_EQ(exif::get_exif_param(state_, path.c_str(), &basic), c.status) << c.what;
    EXPECT_EQ(std::memcmp(&basic, &out.param, sizeof basic), 0) << c.what;
    const int flash[] = {0xEEEE, 255, 16};
    EXPECT_EQ(out.param.Flash, flash[int(c.out)]) << c.what;
    if (c.out == Out::Untouched) continue;
    EXPECT_EQ(std::count(std::begin(out.reserved2), std::end(out.reserved2), 0), 2700) << c.what;
    EXPECT_EQ(out.param.reserved0, 0) << c.what;
    EXPECT_EQ(out.param.BrightnessValue_num, c.out == Out::Values ? -25 : 0) << "keeps its sign";
    EXPECT_EQ(out.shot.Make[0], c.out == Out::Values ? 'M' : 0) << c.what;
  }
}

// The ten words are the basic record's ten 32-bit words (less reserved0);
// the texts of the extended export are bounded (its exports test, under the
// sanitizers).
TEST(SetExifParam, SplitsEachWordIntoItsFields) {
  LibraryState state;
  const std::uint32_t words[10] = {0xABCD0001, 0xFFFFFFF6, 10,         0x00100004, 0x00010002,
                                   3,          2,          0x00020003, 0x00030023, 0x00010002};
  exif::set_exif_param(state, words);
  std::uint32_t record[10];
  std::memcpy(record, &state.shooting.param, sizeof record);
  EXPECT_EQ(record[0], 1u) << "CustomRendered: the first word's low 16 bits";
  EXPECT_EQ(std::memcmp(record + 1, words + 1, 9 * sizeof *words), 0);
}

}  // namespace
