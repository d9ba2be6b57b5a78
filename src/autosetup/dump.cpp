// The debug dump. Its files are read by tools that expect them byte for byte:
// the order of the lines, the blank lines, signed 16-bit values, and the YCC
// file's byte order (Cr + 128, Y, Cb + 128 for each pixel) are kept exactly.
#include "autosetup/dump.h"

#include <cstdio>
#include <memory>
#include <string>

#include "platform/file_open.h"

namespace zkimgset::autosetup {
namespace {

struct CloseFile {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File open(const char* folder, const char* base, const char* suffix, const char* mode) {
  const std::string path = std::string(folder) + base + suffix;
  return File(platform::open_for_writing(path.c_str(), mode));
}

void write_text(std::FILE* f, const tagRECT& rect, const AnalysisState& s,
                const LibraryState& library) {
  const ExifParam& shot = library.shooting.param;
  std::fprintf(f, "orig_width\t%d\n", rect.right - rect.left + 1);
  std::fprintf(f, "orig_height\t%d\n", rect.bottom - rect.top + 1);
  std::fprintf(f, "\n");
  std::fprintf(f, "setup_mode\t%d\n", static_cast<std::int16_t>(library.setup_mode));
  std::fprintf(f, "\n");
  std::fprintf(f, "Flash : %d\n", static_cast<std::int16_t>(shot.Flash));
  std::fprintf(f, "BrightnessValueChild\t%d\n", shot.BrightnessValue_num);
  std::fprintf(f, "BrightnessValueMother\t%d\n", shot.BrightnessValue_den);
  std::fprintf(f, "\n");
  std::fprintf(f, "cb_ofs\t%d\n", s.cb_ofs);
  std::fprintf(f, "cr_ofs\t%d\n", s.cr_ofs);
  std::fprintf(f, "\n");
  const std::pair<const char*, std::int16_t> values[] = {
      {"nextgrp", s.nextgrp},     {"allgrpno", s.allgrpno}, {"dens_av", s.dens_av},
      {"dens_sel", s.dens_sel},   {"dens_eff", s.dens_eff}, {"yy_av", s.yy_av},
      {"yy_mn", s.yy_mn},         {"yy_mx", s.yy_mx},       {"y_mn", s.y_mn},
      {"y_mx", s.y_mx},           {"bk_clp", s.bk_clp},     {"wt_clp", s.wt_clp},
      {"yy_select", s.yy_select}, {"cb_av", s.cb_av},       {"cr_av", s.cr_av},
      {"sat_av", s.sat_av},       {"dif_av", s.dif_av},     {"toler", s.toler}};
  for (const auto& [name, value] : values) std::fprintf(f, "%s\t%d\n", name, value);
  std::fprintf(f, "\n");
  for (int i = 0; i < kLevels; ++i) std::fprintf(f, "tone[%3d]\t%4d\n", i, s.tone[i]);
  std::fprintf(f, "\n");
  for (int i = 0; i < kSatCoefficients; ++i)
    std::fprintf(f, "sat_coef[%3d]\t%4d\n", i, s.sat_coef[i]);
}

// Interleaves three planes pixel by pixel.
void write_interleaved(std::FILE* f, const std::uint8_t* a, const std::uint8_t* b,
                       const std::uint8_t* c) {
  std::uint8_t bytes[3 * kThumbPixels];
  for (int i = 0; i < kThumbPixels; ++i) {
    bytes[3 * i] = a[i];
    bytes[3 * i + 1] = b[i];
    bytes[3 * i + 2] = c[i];
  }
  std::fwrite(bytes, 1, sizeof bytes, f);
}

}  // namespace

void dump_auto_setup_param(const char* folder, const char* base, const tagRECT* rect,
                           const _ThumbnailData* thumb, const AnalysisState& state,
                           const LibraryState& library) noexcept {
  if (folder == nullptr || base == nullptr || rect == nullptr || thumb == nullptr) return;
  try {
    {
      File text = open(folder, base, "_AutoSetupParam.txt", "w");
      if (!text) return;
      write_text(text.get(), *rect, state, library);
    }
    File ycc = open(folder, base, "_ThumbYCC128x92.raw", "wb");
    if (!ycc) return;
    write_interleaved(ycc.get(), thumb->plane[kPlaneRedCr], thumb->plane[kPlaneGreenY],
                      thumb->plane[kPlaneBlueCb]);
    File rgb = open(folder, base, "_ThumbRGB128x92.raw", "wb");
    if (!rgb) return;
    write_interleaved(rgb.get(), state.saved_rgb[kRed], state.saved_rgb[kGreen],
                      state.saved_rgb[kBlue]);
    File yy = open(folder, base, "_th_yy128x92.raw", "wb");
    if (!yy) return;
    std::fwrite(thumb->plane[kPlaneYy], 1, kThumbPixels, yy.get());
  } catch (...) {
    // A path that cannot be built (out of memory) writes nothing more.
  }
}

}  // namespace zkimgset::autosetup
