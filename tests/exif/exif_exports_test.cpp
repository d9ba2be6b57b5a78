// The four Exif exports as a host calls them from the shared library.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "exif/tiff_builder.h"
#include "support/guarded_page.h"
#include "support/temp_folder.h"
#include "zkimgset/zkimgset.h"

namespace {

using namespace zkimgset::testing;

std::string camera_jpeg(bool marked) {
  TiffLayout layout;
  layout.ifd0 = {ascii(0x010F, "Maker")};
  layout.exif = {shorts(0x9209, {16}), shorts(0x8827, {400}), longs(0xA002, {64}),
                 longs(0xA003, {48})};
  if (marked) layout.exif.push_back(undefined(0xA301, {3}));
  const Bytes bytes = exif_jpeg(layout);
  return std::string(bytes.begin(), bytes.end());
}

TEST(ExifExports, ReadCameraFilesIntoTheHostsRecords) {
  const TempFolder folder;
  const std::string plain = folder.write("plain.jpg", camera_jpeg(false));
  const std::string marked = folder.write("marked.jpg", camera_jpeg(true));
  ExifParam basic;
  ExifParamEx extended;
  EXPECT_EQ(GetExifParam(plain.c_str(), &basic), ZKIMGSET_OK);
  EXPECT_EQ(basic.Flash, 16);
  EXPECT_EQ(GetExifParamEx(marked.c_str(), &extended), ZKIMGSET_SOURCE_MARK);
  EXPECT_EQ(extended.shot.ISOSpeedRatings, 400);
  EXPECT_STREQ(extended.shot.Make, "Maker");

  EXPECT_EQ(GetExifParam(nullptr, &basic), ZKIMGSET_BAD_ARGUMENT);
  EXPECT_EQ(GetExifParamEx(plain.c_str(), nullptr), ZKIMGSET_BAD_ARGUMENT);
}

#if defined(_WIN32)
// The kernel's probes: a path or a record in memory that cannot be read or
// written is refused, before anything is opened.
TEST(ExifExports, RefuseUnreadablePathsAndUnwritableRecords) {
  GuardedPage page;
  ExifParam out;
  EXPECT_EQ(GetExifParam(page.guard(), &out), ZKIMGSET_BAD_ARGUMENT);
  EXPECT_EQ(GetExifParam("photo.jpg", reinterpret_cast<ExifParam*>(page.guard())),
            ZKIMGSET_BAD_ARGUMENT);
  // An extended record whose end runs into the guard page.
  auto* tail = reinterpret_cast<ExifParamEx*>(page.guard() - sizeof(ExifParamEx) + 1);
  EXPECT_EQ(GetExifParamEx("photo.jpg", tail), ZKIMGSET_BAD_ARGUMENT);
  // A string that runs into it before its end.
  char* path = page.guard() - 10;
  std::memset(path, 'a', 10);
  EXPECT_EQ(GetExifParam(path, &out), ZKIMGSET_BAD_ARGUMENT);
  // A record in memory that may be read but not written.
  page.make_read_only();
  EXPECT_EQ(GetExifParam("photo.jpg", reinterpret_cast<ExifParam*>(page.begin())),
            ZKIMGSET_BAD_ARGUMENT);
}
#else
TEST(ExifExports, ReadNoPathByteBeyondTheFirst260) {
  // 260 bytes without a NUL, right before a page that may not be read.
  const GuardedPage page;
  char* path = page.guard() - 260;
  std::memset(path, 'a', 260);
  ExifParam out;
  EXPECT_EQ(GetExifParam(path, &out), ZKIMGSET_BAD_ARGUMENT);
  path[259] = '\0';
  EXPECT_EQ(GetExifParam(path, &out), ZKIMGSET_FILE_ERROR) << "259 characters are a path";
}
#endif

TEST(ExifExports, StoreShootingValuesAndAlwaysSucceed) {
  EXPECT_EQ(SetExifParam(1, 10, 20, 0x00100004, 0, 0, 0, 0, 0, 0), ZKIMGSET_OK);
  ExifShotInfo info;
  std::memset(&info, 'x', sizeof info);  // no NUL anywhere: the copy is bounded
  EXPECT_EQ(SetExifParamEx(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, info), ZKIMGSET_OK);
}

}  // namespace
