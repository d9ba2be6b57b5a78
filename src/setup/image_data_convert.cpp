// ImageDataConvertEx. The record goes into the analysis state that
// GetAtParamEx fills (so the colour arithmetic keeps it for later calls),
// the set-up colour table is built from it, and the area is converted. The
// bounds give only the row length (a host may pass its buffer's stride);
// the host guarantees that the rows the area touches are in its buffer, and
// only an area that would reach before the buffer's first byte, or past the
// end of the address space, is refused.
#include "setup/image_data_convert.h"

#include <cstring>

#include "colour/setup_table.h"
#include "geometry/size_rules.h"
#include "setup/correction.h"
#include "setup/pixel_pass.h"

namespace zkimgset::setup {
namespace {

enum Mode { kPackedRgb = 0, kPlanarYCbCr = 1, kBitmapBgr = 2 };

}  // namespace

int image_data_convert(LibraryState& library, autosetup::AnalysisState& analysis, void* data,
                       int width, int height, int mode, const AutoSetupParam* record,
                       const tagRECT* area, const tagRECT* bounds) noexcept {
  if (data == nullptr || record == nullptr || mode < kPackedRgb || mode > kBitmapBgr)
    return ZKIMGSET_BAD_ARGUMENT;
  if (!geometry::analysis_size_accepted(width, height)) return ZKIMGSET_BAD_SIZE;
  if (library.ColorTable3dMain == nullptr) return ZKIMGSET_OUT_OF_MEMORY;  // start-up failed
  if (bounds == nullptr || (mode != kPlanarYCbCr && area == nullptr)) return ZKIMGSET_BAD_ARGUMENT;
  const geometry::Layout layout =
      mode == kBitmapBgr ? geometry::Layout::BitmapBgr : geometry::Layout::PackedRgb;
  auto* pixels = static_cast<std::uint8_t*>(data);
  if (mode != kPlanarYCbCr && pass_reach(pixels, 24, layout, *area, *bounds) == Reach::Outside)
    return ZKIMGSET_BAD_ARGUMENT;

  std::memcpy(analysis.tone, record->tone, sizeof analysis.tone);
  analysis.cr_ofs = record->cr_ofs;
  analysis.cb_ofs = record->cb_ofs;
  std::memcpy(analysis.sat_coef, record->sat_coef, sizeof analysis.sat_coef);
  colour::build_setup_table(library, correction_of(analysis));

  if (mode == kPlanarYCbCr)
    return ycbcr_pass(library, *static_cast<const ZKImgSetPlanarYCbCr*>(data), *bounds);
  return pixel_pass(library, pixels, 24, layout, *area, *bounds);
}

}  // namespace zkimgset::setup
