// The small-picture driver. A small picture's content is copied out as a
// bitmap, resized to cover the 132 x 96 target (the larger scale decides) and
// analysed; the correction is then applied to the full-size picture's content.
// Bit 0x80 of setup_mode, once set here, is never cleared here.
#include "setup/small_image_driver.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "autosetup/analysis.h"
#include "autosetup/thumbnail.h"
#include "colour/setup_table.h"
#include "geometry/content_rectangle.h"
#include "geometry/size_rules.h"
#include "resize/resize_exec.h"
#include "setup/correction.h"
#include "setup/pixel_pass.h"

namespace zkimgset::setup {
namespace {

constexpr int kTargetLong = 132, kTargetShort = 96;

using geometry::Layout;
using geometry::Picture;

// The content of the picture as a bottom-up B, G, R bitmap.
std::vector<std::uint8_t> content_bitmap(const Picture& p, const tagRECT& c) {
  const int cw = c.right - c.left + 1, ch = c.bottom - c.top + 1;
  const std::size_t stride = geometry::row_bytes(std::size_t(cw), Layout::BitmapBgr);
  std::vector<std::uint8_t> out(stride * std::size_t(ch), 0);
  for (int y = c.top; y <= c.bottom; ++y) {
    const std::uint8_t* src = p.pixels + p.row_bytes() * std::size_t(y) + 3 * std::size_t(c.left);
    // Memory rows of a bitmap are already bottom-up; packed rows are top-down.
    const int row = p.layout == Layout::BitmapBgr ? y - c.top : c.bottom - y;
    std::uint8_t* dst = &out[stride * std::size_t(row)];
    for (int x = 0; x < cw; ++x, src += 3, dst += 3) {
      dst[0] = src[p.blue()];
      dst[1] = src[1];
      dst[2] = src[p.red()];
    }
  }
  return out;
}

// The content of a small picture reduced to cover the 132 x 96 target (96 x
// 132 when portrait; the larger scale decides), into `reduced`; `analysed`
// then shows it. 0, or ZKIMGSET_BAD_SIZE when the resize refuses.
int reduce(const Picture& full, std::vector<std::uint8_t>& reduced, Picture& analysed) {
  const tagRECT c = geometry::content_rectangle(full);
  const int cw = c.right - c.left + 1, ch = c.bottom - c.top + 1;
  const std::vector<std::uint8_t> content = content_bitmap(full, c);
  const bool landscape = cw >= ch;
  const int tw = landscape ? kTargetLong : kTargetShort,
            th = landscape ? kTargetShort : kTargetLong;
  const double fx = double(tw) / cw, fy = double(th) / ch;
  const int nw = fx >= fy ? tw : int(cw * fy), nh = fx >= fy ? int(ch * fx) : th;
  ZKImgSetResizePlan plan{};
  if (zkimgset_resize_plan(cw, ch, nw, nh, &plan) != ZKIMGSET_OK) return ZKIMGSET_BAD_SIZE;
  reduced.assign(geometry::row_bytes(std::size_t(plan.result_width), Layout::BitmapBgr) *
                     std::size_t(plan.result_height),
                 0);
  const ZKImgSetBitmapInfoHeader header{40, cw, ch, 1, 24, 0, 0, 2834, 2834, 0, 0};
  ZKImgSetBitmapInfoHeader result{};
  if (resize::resize_exec(&header, content.data(), &result, reduced.data(), nw, nh) != 0)
    return ZKIMGSET_BAD_SIZE;
  analysed = Picture{reduced.data(), result.biWidth, result.biHeight, Layout::BitmapBgr};
  return ZKIMGSET_OK;
}

int run(LibraryState& library, autosetup::AnalysisState& analysis, const DriverPicture& in) {
  if (library.StartupStatus == ZKIMGSET_OUT_OF_MEMORY || library.ColorTable3dMain == nullptr)
    return ZKIMGSET_OUT_OF_MEMORY;
  if (in.pixels == nullptr || (in.bits_per_pixel != 24 && in.bits_per_pixel != 32) ||
      in.layout > 1 || in.width < 1 || in.height < 1)
    return ZKIMGSET_BAD_ARGUMENT;
  const Picture full{in.pixels, in.width, in.height,
                     in.layout == 1 ? Layout::BitmapBgr : Layout::PackedRgb};
  if (std::max(in.width, in.height) <= kSmallImageSide)
    library.setup_mode |= ZKIMGSET_SETUP_SMALL_IMAGE;

  Picture analysed = full;
  std::vector<std::uint8_t> reduced;
  if ((library.setup_mode & ZKIMGSET_SETUP_SMALL_IMAGE) != 0)
    if (const int status = reduce(full, reduced, analysed); status != ZKIMGSET_OK) return status;
  if (!geometry::analysis_size_accepted(analysed.width, analysed.height)) return ZKIMGSET_BAD_SIZE;

  auto thumb = std::make_unique<_ThumbnailData>();
  autosetup::make_thumbnail(analysed, geometry::content_rectangle(analysed), *thumb);
  autosetup::run_analysis(*thumb, analysis, library);
  autosetup::run_correction(analysis, library);

  const tagRECT content = geometry::content_rectangle(full);
  if (library.setup_mode == 0xC0) library.setup_mode = ZKIMGSET_SETUP_SATURATION_KEEP;
  colour::reset_colour_math(library);
  colour::build_setup_table(library, correction_of(analysis));
  return pixel_pass(library, in.pixels, in.bits_per_pixel, full.layout, content,
                    tagRECT{0, 0, in.width - 1, in.height - 1});
}

}  // namespace

int run_small_image_driver(LibraryState& library, autosetup::AnalysisState& analysis,
                           const DriverPicture& picture) noexcept {
  try {
    return run(library, analysis, picture);
  } catch (...) {
    return ZKIMGSET_OUT_OF_MEMORY;
  }
}

}  // namespace zkimgset::setup
