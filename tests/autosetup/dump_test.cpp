// The debug dump's text file, byte for byte.
#include "autosetup/dump.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "support/temp_folder.h"

namespace zkimgset::autosetup {
namespace {

TEST(Dump, TextFileHoldsEveryQuantityInOrder) {
  const testing::TempFolder folder;
  AnalysisState state;
  LibraryState library;
  library.setup_mode = 0xDF;
  library.shooting.param.Flash = 255;
  library.shooting.param.BrightnessValue_num = -37;
  library.shooting.param.BrightnessValue_den = 10;
  state.cb_ofs = -3;
  state.cr_ofs = 5;
  state.dens_av = 712;
  state.y_mn = 256;
  state.y_mx = -1;
  state.toler = 7;
  for (int i = 0; i < 256; ++i) state.tone[i] = static_cast<std::uint8_t>(255 - i);
  for (int i = 0; i < 100; ++i) state.sat_coef[i] = static_cast<std::int16_t>(1100 - i);
  state.sat_coef[3] = -5;
  tagRECT rect{10, 20, 649, 499};
  const auto thumb = std::make_unique<_ThumbnailData>();
  dump_auto_setup_param(folder.slashed().c_str(), "pic", &rect, thumb.get(), state, library);

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
  // Read as text: its line ends are the platform's (CR LF on Windows).
  std::ifstream in(folder.path() / "pic_AutoSetupParam.txt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()),
            expected);
}

}  // namespace
}  // namespace zkimgset::autosetup
