// ImageDataConvertEx. The record goes into the analysis state that
// GetAtParamEx fills (so the colour arithmetic keeps it for later calls),
// the set-up colour table is built from it, and the area is converted. The
// rectangles must lie inside the picture: the area inside the bounds, the
// bounds no larger than width x height.
#include "setup/image_data_convert.h"

#include <cstring>

#include "autosetup/picture.h"
#include "colour/setup_table.h"
#include "setup/pixel_pass.h"

namespace zkimgset::setup {
namespace {

enum Mode { kPackedRgb = 0, kPlanarYCbCr = 1, kBitmapBgr = 2 };

bool inside(const tagRECT& area, const tagRECT& bounds, int width, int height) {
  const long bw = long{bounds.right} - bounds.left + 1, bh = long{bounds.bottom} - bounds.top + 1;
  return bw >= 1 && bh >= 1 && bw <= width && bh <= height && area.left >= 0 && area.top >= 0 &&
         area.left <= area.right && area.top <= area.bottom && area.right < bw && area.bottom < bh;
}

}  // namespace

int image_data_convert(LibraryState& library, autosetup::AnalysisState& analysis, void* data,
                       int width, int height, int mode, const AutoSetupParam* record,
                       const tagRECT* area, const tagRECT* bounds) noexcept {
  if (data == nullptr || record == nullptr || mode < kPackedRgb || mode > kBitmapBgr)
    return ZKIMGSET_BAD_ARGUMENT;
  if (!autosetup::analysis_size_accepted(width, height)) return ZKIMGSET_BAD_SIZE;
  if (library.ColorTable3dMain == nullptr) return ZKIMGSET_OUT_OF_MEMORY;  // start-up failed
  if (bounds == nullptr ||
      (mode != kPlanarYCbCr && (area == nullptr || !inside(*area, *bounds, width, height))))
    return ZKIMGSET_BAD_ARGUMENT;

  std::memcpy(analysis.tone, record->tone, sizeof analysis.tone);
  analysis.cr_ofs = record->cr_ofs;
  analysis.cb_ofs = record->cb_ofs;
  std::memcpy(analysis.sat_coef, record->sat_coef, sizeof analysis.sat_coef);
  colour::build_setup_table(library, analysis);

  auto* pixels = static_cast<std::uint8_t*>(data);
  switch (mode) {
    case kPackedRgb:
      return pixel_pass(library, pixels, 24, autosetup::Layout::PackedRgb, *area, *bounds);
    case kBitmapBgr:
      return pixel_pass(library, pixels, 24, autosetup::Layout::BitmapBgr, *area, *bounds);
    default:
      return ycbcr_pass(library, *static_cast<const ZKImgSetPlanarYCbCr*>(data), *bounds);
  }
}

}  // namespace zkimgset::setup
