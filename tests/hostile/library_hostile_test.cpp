// The library as an attacker calls it: sizes near the int limits, requests
// for more memory than there is, and devices and FIFOs where files are
// expected, each answered at once under run_capped.sh's caps.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/loaded_library.h"
#include "support/temp_folder.h"
#include "zkimgset/zkimgset.h"

namespace {

namespace fs = std::filesystem;
using zkimgset::testing::TempFolder;

std::string fifo_in(const TempFolder& folder, const std::string& name) {
  const fs::path path = folder.path() / name;
  EXPECT_EQ(mkfifo(path.c_str(), 0600), 0) << path;
  return path.string();
}

TEST(Hostile, ConversionBoundsNearTheIntLimitsReturnAtOnce) {
  std::vector<std::uint8_t> y(64, 100), cb(16, 128), cr(16, 128);
  ZKImgSetPlanarYCbCr planes{y.data(), cb.data(), cr.data(), 64, 16, 16, 2, 2};
  AutoSetupParam record{};
  for (int i = 0; i < 256; ++i) record.tone[i] = static_cast<unsigned char>(i);
  std::fill(std::begin(record.sat_coef), std::end(record.sat_coef), 1024);
  std::vector<std::uint8_t> pixels(3 * 128 * 92, 90);
  const struct {
    int mode;  // 1: planar, 0: packed, 2: bitmap rows
    tagRECT area, bounds;
    int status;
  } cases[] = {
      {1, {0, 0, 0, 0}, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, 0},  // 2^32 x 2^32 pixels
      {1, {0, 0, 0, 0}, {INT_MAX, INT_MAX, INT_MIN, INT_MIN}, 0},  // from INT_MAX to INT_MIN
      {0, {INT_MIN, 0, INT_MAX, 0}, {0, 0, 127, 91}, ZKIMGSET_BAD_ARGUMENT},  // 2^32 pixels
      {2, {0, INT_MAX, 0, INT_MAX}, {INT_MIN, 0, INT_MAX, 0}, ZKIMGSET_BAD_ARGUMENT},
  };
  for (const auto& c : cases) {
    tagRECT area = c.area, bounds = c.bounds;
    void* data = c.mode == 1 ? static_cast<void*>(&planes) : pixels.data();
    EXPECT_EQ(ImageDataConvertEx(data, 128, 92, c.mode, &record, &area, &bounds), c.status)
        << c.mode;
  }
}

// Widths where a 16-bit row length wraps: 21845 pixels pad to 65536 bytes,
// a row of 0, which once sent RgbBgrConversion into a memset of 2^64 bytes.
TEST(Hostile, ByteOrderWidthsWhereTheRowLengthWraps) {
  for (const int width : {21844, 21845, 43690}) {
    const std::size_t row = (3 * std::size_t(width) + 3) & ~std::size_t(3);
    std::vector<std::uint8_t> pixels(row * 3);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = std::uint8_t(i * 7);
    std::vector<std::uint8_t> before = pixels;
    EXPECT_EQ(RgbBgrConversion(pixels.data(), width, 3), 0) << width;
    EXPECT_EQ(BgrRgbConversion(pixels.data(), width, 3), 0) << width;
    if (width == 21844) {
      EXPECT_TRUE(std::equal(pixels.begin(), pixels.begin() + 3 * width * 3, before.begin()));
    }
  }
}

TEST(Hostile, HugeSizesAreRefusedBeforeAnyWork) {
  std::vector<std::uint8_t> pixels(4 * 64 * 64, 90);
  AutoSetupParam record{};
  EXPECT_EQ(ImageDataConvert(pixels.data(), 800000000, 20), ZKIMGSET_BAD_SIZE);
  EXPECT_EQ(ImageDataConvert(pixels.data(), INT_MIN, INT_MAX), ZKIMGSET_BAD_SIZE);
  EXPECT_EQ(AutoSetupExecEx(pixels.data(), 800000000, 20, INT_MAX, 24, 0, 0, 0, 0),
            ZKIMGSET_BAD_SIZE);
  EXPECT_EQ(GetAtParamEx(pixels.data(), 800000000, 800000000, &record, 0, 0, 0),
            ZKIMGSET_BAD_ARGUMENT);
  EXPECT_EQ(BgrRgbConversion(pixels.data(), INT_MAX, 0), ZKIMGSET_OK);
}

TEST(Hostile, ResizeChecksItsWorkBeforeBuildingAnything) {
  const std::vector<std::uint8_t> source(zkimgset_bitmap_bytes(640, 480), 200);
  const ZKImgSetBitmapInfoHeader small{40, 640, 480, 1, 24, 0, 0, 0, 0, 0, 0};
  const ZKImgSetBitmapInfoHeader huge{40, INT_MAX, INT_MAX, 1, 24, 0, 0, 0, 0, 0, 0};
  std::vector<std::uint8_t> result(64);
  ZKImgSetBitmapInfoHeader out{};
  EXPECT_EQ(ResizeExec(&huge, source.data(), &out, result.data(), 100, 100),
            ZKIMGSET_OUT_OF_MEMORY);
  EXPECT_EQ(ResizeExec(&small, source.data(), &out, result.data(), INT_MAX, INT_MAX),
            ZKIMGSET_OUT_OF_MEMORY);

  // 60 MB asked for: the work stays near the result's size, and every sum,
  // past 32 bits at this scale, is divided exactly.
  ZKImgSetResizePlan plan{};
  ASSERT_EQ(zkimgset_resize_plan(640, 480, 20000000, 1, &plan), 0);
  std::vector<std::uint8_t> wide(zkimgset_bitmap_bytes(plan.result_width, plan.result_height));
  ASSERT_EQ(ResizeExec(&small, source.data(), &out, wide.data(), 20000000, 1), ZKIMGSET_OK);
  EXPECT_EQ(out.biWidth, 20000000);
  EXPECT_EQ(std::count(wide.begin(), wide.begin() + 3 * 20000000, 200), 3 * 20000000);
  // Per-column tables built before the result's buffer once took 3 GB here.
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  EXPECT_LT(usage.ru_maxrss, 512L * 1024) << "peak resident kilobytes";
}

TEST(Hostile, FifosAndDevicesAreNeverOpenedAsFiles) {
  const TempFolder folder;
  const std::string fifo = fifo_in(folder, "photo.jpg");
  ExifParamEx out{};
  for (const std::string& path :
       {fifo, std::string("/dev/zero"), std::string("/dev/null"), folder.path().string()}) {
    EXPECT_EQ(GetExifParamEx(path.c_str(), &out), ZKIMGSET_FILE_ERROR) << path;
    EXPECT_EQ(GetExifParam(path.c_str(), &out.param), ZKIMGSET_FILE_ERROR) << path;
  }
  // A FIFO nobody reads ends a dump at once; the null device takes a file.
  fifo_in(folder, "a_AutoSetupParam.txt");
  fs::create_symlink("/dev/null", folder.path() / "b_AutoSetupParam.txt");
  tagRECT rect{0, 0, 127, 91};
  auto thumbnail = std::make_unique<_ThumbnailData>();
  for (const char* base : {"a", "b"})
    DumpAutoSetupParam(folder.slashed().c_str(), base, &rect, thumbnail.get());
  EXPECT_TRUE(fs::is_fifo(folder.path() / "a_AutoSetupParam.txt"));
  EXPECT_FALSE(fs::exists(folder.path() / "a_th_yy128x92.raw"));
  EXPECT_TRUE(fs::is_character_file(folder.path() / "b_AutoSetupParam.txt"));
  EXPECT_EQ(fs::file_size(folder.path() / "b_th_yy128x92.raw"), 128u * 92u);
}

#if defined(ZKIMGSET_TEST_LIBRARY)
TEST(Hostile, FifosNamedAsTablesDoNotHoldUpLoading) {
  const TempFolder folder;
  fifo_in(folder, "ZK1DDATA.DAT");
  fifo_in(folder, "ZK3DDATA.DAT");
  const fs::path copy = folder.path() / "libzkimgset.so";
  fs::copy_file(fs::canonical(ZKIMGSET_TEST_LIBRARY), copy);
  const zkimgset::testing::LoadedLibrary library(copy.string());
  ASSERT_TRUE(library.loaded());
  auto* set3d = library.find<int(const char*)>("Set3dFile");
  ASSERT_NE(set3d, nullptr);
  EXPECT_EQ(set3d(nullptr), ZKIMGSET_TABLE3D_FAILED);
  EXPECT_EQ(set3d("ZK1DDATA.DAT"), ZKIMGSET_TABLE3D_FAILED);
}
#endif

}  // namespace
