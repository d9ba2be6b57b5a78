#include "exif/exif_params.h"

#include <gtest/gtest.h>

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

// A camera JPEG with every field of the records set.
TiffLayout camera() {
  TiffLayout layout;
  layout.ifd0 = {ascii(0x010F, "Maker Co"), ascii(0x0110, "Model 7")};
  layout.exif = {rational(0x829A, 1, 125),   rational(0x829D, 28, 10),
                 shorts(0x8827, {200}),      undefined(0x9000, {'0', '2', '2', '0'}),
                 srational(0x9201, 7, 1),    rational(0x9202, 3, 1),
                 srational(0x9203, -25, 10), shorts(0x9208, {4}),
                 shorts(0x9209, {16}),       longs(0xA002, {640}),
                 longs(0xA003, {480}),       shorts(0xA401, {1}),
                 shorts(0xA402, {2}),        shorts(0xA403, {1}),
                 rational(0xA404, 3, 2),     shorts(0xA405, {35}),
                 shorts(0xA406, {3}),        shorts(0xA408, {2}),
                 shorts(0xA409, {1}),        shorts(0xA40A, {2}),
                 shorts(0xA40C, {3})};
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

// Field by field the records are checked against ExifTool on real files
// (golden_test.cpp); here what those cannot show.
TEST_F(GetExifParam, FillsTheBasicRecordAsTheExtendedOneBegins) {
  const std::string path = file(exif_jpeg(camera()));
  ExifParamEx extended = filled_with(0xEE);
  ASSERT_EQ(exif::get_exif_param_ex(state_, path.c_str(), &extended), ZKIMGSET_OK);
  EXPECT_EQ(extended.param.BrightnessValue_num, -25) << "SRATIONAL keeps its sign";
  EXPECT_EQ(extended.param.reserved0, 0);
  EXPECT_EQ(std::count(std::begin(extended.reserved2), std::end(extended.reserved2), 0), 2700);
  ExifParam basic;
  std::memset(&basic, 0xEE, sizeof basic);
  ASSERT_EQ(exif::get_exif_param(state_, path.c_str(), &basic), ZKIMGSET_OK);
  EXPECT_EQ(std::memcmp(&basic, &extended.param, sizeof basic), 0);
}

TEST_F(GetExifParam, LeavesFieldsOfTheWrongTypeAtTheirDefaults) {
  TiffLayout layout = camera();
  for (TestEntry& e : layout.exif) {
    if (e.tag == 0x9209) e = longs(0x9209, {1});        // Flash as LONG
    if (e.tag == 0x9203) e = rational(0x9203, 25, 10);  // BrightnessValue as RATIONAL
    if (e.tag == 0x8827) e = shorts(0x8827, {100, 400, 800});
  }
  layout.ifd0 = {ascii(0x010F, std::string(300, 'M'))};
  layout.exif.insert(layout.exif.begin(), shorts(0xA40A, {1}));  // listed twice: the first wins
  ExifParamEx out = filled_with(0xEE);
  ASSERT_EQ(get(exif_jpeg(layout), out), ZKIMGSET_OK);
  EXPECT_EQ(out.param.Flash, 255);
  EXPECT_EQ(out.param.BrightnessValue_num, 0);
  EXPECT_EQ(out.param.BrightnessValue_den, 0);
  EXPECT_EQ(out.param.Sharpness, 1);
  EXPECT_EQ(out.shot.ISOSpeedRatings, 100);
  EXPECT_EQ(out.shot.reserved1, 400) << "ISOSpeedRatings owns the two bytes after it";
  EXPECT_EQ(out.shot.ExposureTime_num, 1u) << "and nothing more";
  EXPECT_EQ(std::strlen(out.shot.Make), 259u);
  EXPECT_STREQ(out.shot.Model, "");
}

// Segments of length 2 (no body) are legal and common.
Bytes with_empty_segments(const TiffLayout& layout) {
  return build_jpeg(
      {segment(0xFFFE, {}), segment(0xFFE1, app1_body(build_tiff(layout))), segment(0xFFEF, {})});
}

// Thousands of comments before the Exif segment: read past, never refused.
Bytes after_many_comments(const TiffLayout& layout) {
  Bytes comments;
  for (int i = 0; i < 5000; ++i) comments.insert(comments.end(), {0xFF, 0xFE, 0x00, 0x02});
  Bytes file = exif_jpeg(layout);
  file.insert(file.begin() + 2, comments.begin(), comments.end());
  return file;
}

TEST_F(GetExifParam, ReturnsTheStatusAndRecordOfEveryOutcome) {
  TiffLayout big_thumbnail = camera();
  big_thumbnail.ifd1 = {longs(0x0201, {0}), longs(0x0202, {65536})};
  TiffLayout small_thumbnail = camera();
  small_thumbnail.ifd1 = {raw_entry(0x0201, 4, 1, 0), longs(0x0202, {65535})};
  TiffLayout no_dimension = camera();
  std::erase_if(no_dimension.exif, [](const TestEntry& e) { return e.tag == 0xA003; });
  TiffLayout bad_offset = camera();
  std::erase_if(bad_offset.exif, [](const TestEntry& e) { return e.tag == 0xA404; });
  bad_offset.exif.push_back(raw_entry(0xA404, 5, 1, 0x7FFFFFF0));
  TiffLayout grey_tiff = camera(), rgb_tiff = camera();
  grey_tiff.ifd0 = rgb_tiff.ifd0 = rgb_tiff_ifd0();
  for (TestEntry& e : grey_tiff.ifd0)
    if (e.tag == 0x0106) e = shorts(0x0106, {1});
  TiffLayout marked = camera();
  marked.exif.push_back(undefined(0xA301, {3}));
  TiffLayout marked_mm = marked;
  marked_mm.order = Order::Big;

  enum class Out { Untouched, Defaults, Values };
  const struct {
    const char* what;
    Bytes file;
    int status;
    Out out;
    int enabled;
  } cases[] = {
      {"camera JPEG", exif_jpeg(camera()), ZKIMGSET_OK, Out::Values, 1},
      {"empty COM before the Exif, empty APP15 after it", with_empty_segments(camera()),
       ZKIMGSET_OK, Out::Values, 1},
      {"not an image", {'h', 'e', 'l', 'l', 'o'}, ZKIMGSET_NO_EXIF, Out::Defaults, 1},
      {"JPEG without Exif", build_jpeg({segment(0xFFE0, {'J', 'F', 'I', 'F', 0})}),
       ZKIMGSET_NO_EXIF, Out::Defaults, 1},
      {"thumbnail of 65536 bytes", exif_jpeg(big_thumbnail), ZKIMGSET_NO_EXIF, Out::Defaults, 1},
      {"thumbnail of 65535 bytes", exif_jpeg(small_thumbnail), ZKIMGSET_OK, Out::Values, 1},
      {"no PixelYDimension", exif_jpeg(no_dimension), ZKIMGSET_FILE_ERROR, Out::Values, 1},
      {"rational past the end", exif_jpeg(bad_offset), ZKIMGSET_NO_EXIF, Out::Untouched, 1},
      {"TIFF, black is zero", build_tiff(grey_tiff), ZKIMGSET_NO_EXIF, Out::Defaults, 1},
      {"RGB TIFF", build_tiff(rgb_tiff), ZKIMGSET_OK, Out::Values, 1},
      {"scene type 3", exif_jpeg(marked), ZKIMGSET_SOURCE_MARK, Out::Values, 0},
      {"5000 comments before the Exif segment", after_many_comments(camera()), ZKIMGSET_OK,
       Out::Values, 1},
      {"scene type 3 between empty segments", with_empty_segments(marked), ZKIMGSET_SOURCE_MARK,
       Out::Values, 0},
      {"MM scene type 3", exif_jpeg(marked_mm), ZKIMGSET_SOURCE_MARK, Out::Values, 0}};
  for (const auto& c : cases) {
    state_.ExifSetupEnabled = 0;
    ExifParamEx out = filled_with(0xEE);
    EXPECT_EQ(get(c.file, out), c.status) << c.what;
    EXPECT_EQ(state_.ExifSetupEnabled, c.enabled) << c.what;
    const int flash[] = {0xEEEE, 255, 16};
    EXPECT_EQ(out.param.Flash, flash[int(c.out)]) << c.what;
    if (c.out == Out::Defaults) {
      EXPECT_EQ(out.param.CustomRendered, 0) << c.what;
      EXPECT_EQ(out.shot.Make[0], 0) << c.what;
    }
    if (c.out == Out::Values) {
      EXPECT_EQ(out.shot.ISOSpeedRatings, 200) << c.what;
    }
  }
}

// The parameter stage reads the Exif structure from the file, its offsets
// counted from the structure's start, so a value may lie past the Exif
// segment (here in a comment segment after it).
TEST_F(GetExifParam, ReadsValuesPastTheExifSegmentFromTheFile) {
  TiffLayout layout = camera();
  std::erase_if(layout.exif, [](const TestEntry& e) { return e.tag == 0xA404; });
  layout.exif.push_back(raw_entry(0xA404, 5, 1, 0));
  const std::size_t tiff_bytes = build_tiff(layout).size();
  layout.exif.back() = raw_entry(0xA404, 5, 1, static_cast<std::uint32_t>(tiff_bytes + 4));
  const Bytes zoom = {0, 0, 0, 7, 0, 0, 0, 2};  // 7/2, big-endian as the comment holds it
  layout.order = Order::Big;
  ExifParamEx out = filled_with(0xEE);
  EXPECT_EQ(
      get(build_jpeg({segment(0xFFE1, app1_body(build_tiff(layout))), segment(0xFFFE, zoom)}), out),
      ZKIMGSET_OK);
  EXPECT_EQ(out.param.DigitalZoomRatio_num, 7u);
  EXPECT_EQ(out.param.DigitalZoomRatio_den, 2u);
}

TEST_F(GetExifParam, RefusesBadArgumentsAndMissingFiles) {
  char unterminated[300];
  std::memset(unterminated, 'a', sizeof unterminated);
  char longest[260];
  std::memset(longest, 'a', sizeof longest);
  longest[259] = '\0';
  ExifParamEx out = filled_with(0xEE);
  // Windows' probe refuses only unreadable memory; elsewhere the path must
  // end within its 260 bytes.
#if defined(_WIN32)
  constexpr int kUnterminated = ZKIMGSET_FILE_ERROR;
#else
  constexpr int kUnterminated = ZKIMGSET_BAD_ARGUMENT;
#endif
  const struct {
    const char* path;
    ExifParamEx* out;
    int status;
  } cases[] = {{nullptr, &out, ZKIMGSET_BAD_ARGUMENT},
               {"photo.jpg", nullptr, ZKIMGSET_BAD_ARGUMENT},
               {unterminated, &out, kUnterminated},
               {longest, &out, ZKIMGSET_FILE_ERROR},
               {"", &out, ZKIMGSET_FILE_ERROR},
               {"/no/such/folder/photo.jpg", &out, ZKIMGSET_FILE_ERROR}};
  for (const auto& c : cases) {
    state_.ExifSetupEnabled = 0;
    EXPECT_EQ(exif::get_exif_param_ex(state_, c.path, c.out), c.status);
    EXPECT_EQ(state_.ExifSetupEnabled, 1);
    EXPECT_EQ(out.param.Flash, 0xEEEE) << "out is untouched";
  }
}

// The ten words are the basic record's ten 32-bit words (less reserved0).
TEST(SetExifParam, SplitsEachWordIntoItsFields) {
  LibraryState state;
  state.ExifSetupEnabled = 0;
  const std::uint32_t words[10] = {0xABCD0001, 0xFFFFFFF6, 10,         0x00100004, 0x00010002,
                                   3,          2,          0x00020003, 0x00030023, 0x00010002};
  exif::set_exif_param(state, words);
  std::uint32_t record[10];
  std::memcpy(record, &state.shooting.param, sizeof record);
  EXPECT_EQ(record[0], 1u) << "CustomRendered: the first word's low 16 bits";
  EXPECT_EQ(std::memcmp(record + 1, words + 1, 9 * sizeof *words), 0);
  EXPECT_EQ(state.shooting.param.BrightnessValue_num, -10);
  EXPECT_EQ(state.shooting.param.Flash, 16) << "the high half of the fourth word";
  EXPECT_EQ(state.ExifSetupEnabled, 0) << "not touched";

  ExifShotInfo info;
  std::memset(&info, 'x', sizeof info);  // Make and Model without a NUL
  std::strcpy(info.Model, "Model 7");
  info.ISOSpeedRatings = 400;
  info.ExposureTime_den = 60;
  info.ShutterSpeedValue_num = -3;
  info.ApertureValue_den = 8;
  exif::set_exif_param_ex(state, words, info);
  EXPECT_EQ(std::strlen(state.MakerText1), 259u) << "cut to the maker text's room";
  EXPECT_STREQ(state.MakerText2, "Model 7");
  EXPECT_EQ(state.shooting.ISOSpeedRatings, 400);
  EXPECT_EQ(state.shooting.ExposureTime[1], 60u);
  EXPECT_EQ(state.shooting.ShutterSpeedValue[0], -3);
  EXPECT_EQ(state.shooting.ApertureValue[1], 8u);
  EXPECT_EQ(state.shooting.param.Flash, 16);
}

}  // namespace
