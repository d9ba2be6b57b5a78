// The debug dump, byte for byte, and its chain of "written only if".
#include "autosetup/dump.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "support/temp_folder.h"

namespace zkimgset::autosetup {
namespace {

std::string read(const std::filesystem::path& path,
                 std::ios::openmode mode = std::ios::in | std::ios::binary) {
  std::ifstream in(path, mode);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class Dump : public ::testing::Test {
 protected:
  Dump() : thumb_(std::make_unique<_ThumbnailData>()) {
    for (int p = 0; p < 4; ++p)
      for (int i = 0; i < kThumbPixels; ++i)
        thumb_->plane[p][i] = static_cast<std::uint8_t>(10 * p + i % 7);
    for (int c = 0; c < 3; ++c) state_.saved_rgb[c][0] = static_cast<std::uint8_t>(100 + c);
  }
  void dump(const std::string& folder) {
    dump_auto_setup_param(folder.c_str(), "pic", &rect_, thumb_.get(), state_, library_);
  }

  testing::TempFolder folder_;
  tagRECT rect_{10, 20, 649, 499};
  std::unique_ptr<_ThumbnailData> thumb_;
  AnalysisState state_;
  LibraryState library_;
};

TEST_F(Dump, TextFileHoldsEveryQuantityInOrder) {
  library_.setup_mode = 0xDF;
  library_.shooting.param.Flash = 255;
  library_.shooting.param.BrightnessValue_num = -37;
  library_.shooting.param.BrightnessValue_den = 10;
  state_.cb_ofs = -3;
  state_.cr_ofs = 5;
  state_.dens_av = 712;
  state_.y_mn = 256;
  state_.y_mx = -1;
  state_.toler = 7;
  for (int i = 0; i < 256; ++i) state_.tone[i] = static_cast<std::uint8_t>(255 - i);
  for (int i = 0; i < 100; ++i) state_.sat_coef[i] = static_cast<std::int16_t>(1100 - i);
  state_.sat_coef[3] = -5;
  dump(folder_.slashed());

  std::string expected =
      "orig_width\t640\norig_height\t480\n\nsetup_mode\t223\n\nFlash : 255\n"
      "BrightnessValueChild\t-37\nBrightnessValueMother\t10\n\ncb_ofs\t-3\ncr_ofs\t5\n\n"
      "nextgrp\t0\nallgrpno\t0\ndens_av\t712\ndens_sel\t0\ndens_eff\t0\nyy_av\t0\nyy_mn\t0\n"
      "yy_mx\t0\ny_mn\t256\ny_mx\t-1\nbk_clp\t0\nwt_clp\t0\nyy_select\t0\ncb_av\t0\ncr_av\t0\n"
      "sat_av\t0\ndif_av\t0\ntoler\t7\n\n";
  char line[64];
  for (int i = 0; i < 256; ++i) {
    std::snprintf(line, sizeof line, "tone[%3d]\t%4d\n", i, 255 - i);
    expected += line;
  }
  expected += "\n";
  for (int i = 0; i < 100; ++i) {
    std::snprintf(line, sizeof line, "sat_coef[%3d]\t%4d\n", i, i == 3 ? -5 : 1100 - i);
    expected += line;
  }
  // A text file: its line ends are the platform's (CR LF on Windows).
  EXPECT_EQ(read(folder_.path() / "pic_AutoSetupParam.txt", std::ios::in), expected);
  EXPECT_NE(expected.find("tone[  7]\t 248\n"), std::string::npos)
      << "a three-digit index, a four-wide value";
}

TEST_F(Dump, RawFilesInterleaveThePlanes) {
  dump(folder_.slashed());
  const std::string ycc = read(folder_.path() / "pic_ThumbYCC128x92.raw");
  ASSERT_EQ(ycc.size(), 3u * kThumbPixels);
  EXPECT_EQ(ycc.substr(0, 6), std::string({10, 20, 30, 11, 21, 31})) << "Cr first, then Y, Cb";
  const std::string rgb = read(folder_.path() / "pic_ThumbRGB128x92.raw");
  ASSERT_EQ(rgb.size(), 3u * kThumbPixels);
  EXPECT_EQ(rgb.substr(0, 4), std::string({100, 101, 102, 0}));
  const std::string yy = read(folder_.path() / "pic_th_yy128x92.raw");
  ASSERT_EQ(yy.size(), std::size_t{kThumbPixels});
  EXPECT_EQ(yy.substr(0, 3), std::string({0, 1, 2}));
}

// Nothing is written when the text file cannot be opened or an argument is
// missing, and the raw files stop at the first that cannot be opened.
TEST_F(Dump, StopsAtTheFirstFileThatCannotBeOpened) {
  dump((folder_.path() / "missing" / "").string());
  dump_auto_setup_param(folder_.slashed().c_str(), nullptr, &rect_, thumb_.get(), state_, library_);
  dump_auto_setup_param(folder_.slashed().c_str(), "pic", nullptr, thumb_.get(), state_, library_);
  EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
  std::filesystem::create_directory(folder_.path() / "pic_ThumbRGB128x92.raw");
  dump(folder_.slashed());
  EXPECT_TRUE(std::filesystem::exists(folder_.path() / "pic_ThumbYCC128x92.raw"));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "pic_th_yy128x92.raw"));
}

}  // namespace
}  // namespace zkimgset::autosetup
