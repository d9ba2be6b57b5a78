// The shared library as a host loads it: its exports under their own names,
// and the tables it finds beside itself when it is loaded.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "support/decorated_names.h"
#include "support/loaded_library.h"
#include "support/temp_folder.h"
#include "zkimgset/zkimgset.h"

namespace {

TEST(SharedLibrary, LoadsTablesByNameAndReportsMissingOnesWithTheirCodes) {
  EXPECT_EQ(Set3dFile(nullptr), ZKIMGSET_OK);
  EXPECT_EQ(Set3dFile("ZK3DDATA.DAT"), ZKIMGSET_OK);
  EXPECT_EQ(Set1dFile("ZK1DDATA.DAT"), ZKIMGSET_OK);
  EXPECT_EQ(Set3dFile_old("ZK3DDATA.DAT"), ZKIMGSET_OK);
  EXPECT_EQ(Set3dFile("NO-SUCH.DAT"), ZKIMGSET_TABLE3D_FAILED);
  EXPECT_EQ(Set3dFile_old("NO-SUCH.DAT"), ZKIMGSET_TABLE3D_FAILED);
  EXPECT_EQ(Set1dFile(nullptr), ZKIMGSET_TABLE1D_FAILED);
  EXPECT_EQ(Load3dpFile(nullptr), ZKIMGSET_NOT_LOADED);
  EXPECT_EQ(Load3dpFile("/no-such-table.3dp"), ZKIMGSET_NOT_LOADED);
  EXPECT_EQ(SetColorConvMode(0xFFFF), ZKIMGSET_OK);
  EXPECT_EQ(SetColorConvMode(3), ZKIMGSET_OK);
  EXPECT_EQ(Set3dFile(nullptr), ZKIMGSET_OK);
}

TEST(SharedLibrary, RecordFunctionsWorkThroughTheirExports) {
  char text[] = "3D\r\n0,0,0,12,34,56\n";
  char* cursor = text;
  unsigned long left = sizeof text - 1;
  char record[260] = {};
  EXPECT_EQ(Get_Next_Record(&cursor, &left, record), 2u);
  EXPECT_STREQ(record, "3D");
  std::memset(record, 0, sizeof record);
  EXPECT_EQ(Get_Next_Record(&cursor, &left, record), 14u);
  unsigned char r = 0, g = 0, b = 0;
  EXPECT_EQ(Load_3D_LUT(record, &r, &g, &b), ZKIMGSET_OK);
  EXPECT_EQ(r + g + b, 12 + 34 + 56);
  char one_d[] = "7,300,-1,5";
  EXPECT_EQ(Load_1D_LUT(one_d, &r, &g, &b), ZKIMGSET_OK);
  EXPECT_EQ(r, 44);
  EXPECT_EQ(g, 255);
  char fields[] = "a,bc";
  char* field_cursor = fields;
  char field[260];
  EXPECT_EQ(Classify_String(&field_cursor, field), 1u);
  EXPECT_EQ(Classify_String(&field_cursor, field), 2u);
}

// The library's file name on this platform.
#if defined(_WIN32)
constexpr const char* kLibraryName = "ZKImgSet.dll";
#else
constexpr const char* kLibraryName = "libzkimgset.so";
#endif

// A copy of the library in a folder of its own, loaded as a host would: fresh
// whatever the tests before stored, and with no tables beside it until
// they are copied there.
TEST(SharedLibrary, FreshCopyDumpsItsStartValuesAndFindsTablesBesideIt) {
  zkimgset::testing::TempFolder folder;
  const auto path = folder.path() / kLibraryName;
  std::filesystem::copy_file(std::filesystem::canonical(ZKIMGSET_TEST_LIBRARY), path);
  const zkimgset::testing::LoadedLibrary copy(path.string());
  ASSERT_TRUE(copy.loaded());
  auto* dump = copy.find<void(const char*, const char*, tagRECT*, _ThumbnailData*)>(
      ZKIMGSET_NAME_DUMP_AUTO_SETUP_PARAM);
  auto* set3d = copy.find<int(const char*)>("Set3dFile");
  auto* set1d = copy.find<int(const char*)>(ZKIMGSET_NAME_SET_1D_FILE);
  ASSERT_TRUE(dump && set3d && set1d);
  tagRECT rect{0, 0, 127, 91};
  auto thumb = std::make_unique<_ThumbnailData>();
  dump(folder.slashed().c_str(), "fresh", &rect, thumb.get());
  std::ifstream in(folder.path() / "fresh_AutoSetupParam.txt");
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  EXPECT_EQ(text.substr(0, 57),
            "orig_width\t128\norig_height\t92\n\nsetup_mode\t0\n\nFlash : 255\n");
  for (const char* raw :
       {"fresh_ThumbYCC128x92.raw", "fresh_ThumbRGB128x92.raw", "fresh_th_yy128x92.raw"})
    EXPECT_TRUE(std::filesystem::exists(folder.path() / raw)) << raw;

  EXPECT_EQ(set3d(nullptr), ZKIMGSET_TABLE3D_FAILED);
  EXPECT_EQ(set1d("ZK1DDATA.DAT"), ZKIMGSET_TABLE1D_FAILED);
  const std::filesystem::path tables = ZKIMGSET_TEST_TABLE_DIR;
  std::filesystem::copy_file(tables / "ZK1DDATA.DAT", folder.path() / "ZK1DDATA.DAT");
  std::filesystem::copy_file(tables / "ZK3DDATA.DAT", folder.path() / "ZK3DLAB.DAT");
  EXPECT_EQ(set3d(nullptr), ZKIMGSET_OK);
  EXPECT_EQ(set1d("ZK1DDATA.DAT"), ZKIMGSET_OK);
}

}  // namespace
