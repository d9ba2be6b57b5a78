// The conversion cores. Each stage finds its processing rectangle afresh
// (the bounding box of the non-white pixels), so Den2TA trims twice, and
// pixels outside it are never changed. The 3-D stage keeps pure white for
// white: a pixel becomes 255, 255, 255 only when all three outputs reach
// 255, otherwise each is limited to 254.
#include "colour/conversions.h"

#include <algorithm>

#include "colour/balance_curves.h"
#include "colour/channel_table.h"
#include "colour/interpolate3d.h"
#include "colour/interpolate_run.h"
#include "geometry/content_rectangle.h"
#include "geometry/size_rules.h"

namespace zkimgset::colour {
namespace {

using geometry::Layout;
using geometry::Picture;

// Calls visit(pixel) for every pixel of the picture's non-white rectangle.
template <class Visit>
void for_each_in_content(std::uint8_t* pixels, int width, int height, Layout layout, Visit visit) {
  const Picture picture{pixels, width, height, layout};
  const tagRECT area = geometry::content_rectangle(picture);
  const std::size_t stride = picture.row_bytes();
  for (int y = area.top; y <= area.bottom; ++y) {
    std::uint8_t* p = pixels + stride * std::size_t(y) + 3 * std::size_t(area.left);
    for (int x = area.left; x <= area.right; ++x, p += 3) visit(p);
  }
}

void channel_stage(LibraryState& state, std::uint8_t* pixels, int width, int height,
                   Layout layout) {
  const auto& table = state.colour.channel_table;
  const int red = layout == Layout::PackedRgb ? 0 : 2, blue = 2 - red;
  for_each_in_content(pixels, width, height, layout, [&](std::uint8_t* p) {
    p[red] = table[p[red]][0];
    p[1] = table[p[1]][1];
    p[blue] = table[p[blue]][2];
  });
}

void three_d_stage(const std::uint8_t* table, std::uint8_t* pixels, int width, int height,
                   Layout layout) {
  const Interpolator interpolate(table);
  const Picture picture{pixels, width, height, layout};
  const tagRECT area = geometry::content_rectangle(picture);
  const RunOptions options{layout == Layout::BitmapBgr, true};
  for (int y = area.top; y <= area.bottom; ++y)
    interpolate_run(interpolate,
                    pixels + picture.row_bytes() * std::size_t(y) + 3 * std::size_t(area.left),
                    std::size_t(area.right - area.left + 1), options);
}

void store_shifts(LibraryState& state, Shifts shifts) {
  state.colour.curve_index[0] = curve_index_for_shift(shifts.red);
  state.colour.curve_index[1] = curve_index_for_shift(shifts.green);
  state.colour.curve_index[2] = curve_index_for_shift(shifts.blue);
}

int check(const LibraryState& state, const std::uint8_t* pixels, int width, int height, Core core) {
  if (state.StartupStatus != ZKIMGSET_OK) return state.StartupStatus;
  if ((core == Core::Density || core == Core::OneD) && state.Table1dStatus != ZKIMGSET_OK)
    return state.Table1dStatus;
  if ((core == Core::Density || core == Core::ThreeD) && state.Table3dStatus != ZKIMGSET_OK)
    return state.Table3dStatus;
  if (pixels == nullptr) return ZKIMGSET_BAD_ARGUMENT;
  if (core == Core::Balance && !geometry::analysis_size_accepted(width, height))
    return ZKIMGSET_BAD_SIZE;
  return ZKIMGSET_OK;
}

}  // namespace

int convert(LibraryState& state, std::uint8_t* pixels, int width, int height, Layout layout,
            Core core, Shifts shifts) noexcept {
  if (const int status = check(state, pixels, width, height, core); status != ZKIMGSET_OK)
    return status;
  if (width <= 0 || height <= 0) return ZKIMGSET_OK;
  switch (core) {
    case Core::Density:
    case Core::OneD:
      store_shifts(state, shifts);
      build_channel_table_with_1d(state);
      channel_stage(state, pixels, width, height, layout);
      if (core == Core::Density)
        three_d_stage(state.ColorTable3dAlt, pixels, width, height, layout);
      break;
    case Core::ThreeD:
      three_d_stage(state.ColorTable3dAlt, pixels, width, height, layout);
      break;
    case Core::Balance:
      store_shifts(state, shifts);
      build_channel_table_from_curves(state);
      channel_stage(state, pixels, width, height, layout);
      break;
  }
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::colour
