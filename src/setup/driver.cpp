// The set-up driver, step by step as the library has always run it. The
// caller's picture is left untouched until the merged work copy is written
// back; every return after the service is bound unbinds it. Kept on purpose:
// 32-bit pixels are copied three bytes at a time.
#include "setup/driver.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "autosetup/gradation.h"
#include "autosetup/saturation.h"
#include "colour/setup_table.h"
#include "frame/service_binding.h"
#include "geometry/content_rectangle.h"
#include "geometry/size_rules.h"
#include "platform/paths.h"
#include "setup/correction.h"
#include "setup/pixel_pass.h"
#include "setup/service_setup.h"

namespace zkimgset::setup {
namespace {

constexpr unsigned kServiceBits = 0x1F;  // all five: the service's automatic set-up runs

// Holds the service bound for the rest of a driver call.
class BoundService {
 public:
  explicit BoundService(ServiceBinding& binding) : binding_(binding) {}
  ~BoundService() { unbind_service(binding_); }
  BoundService(const BoundService&) = delete;
  BoundService& operator=(const BoundService&) = delete;

 private:
  ServiceBinding& binding_;
};

// The picture's content rectangle and the work copy of it that the service
// reads and the merge writes: the picture itself when the content is all of
// it, otherwise a copy of the content's rows (padded like the picture's),
// written back into the picture only at the end.
class WorkCopy {
 public:
  WorkCopy(const DriverPicture& in, geometry::Layout layout)
      : pixels_(in.pixels),
        layout_(layout),
        content_(geometry::content_rectangle({in.pixels, in.width, in.height, layout})),
        width_(content_.right - content_.left + 1),
        height_(content_.bottom - content_.top + 1),
        source_row_bytes_(geometry::row_bytes(std::size_t(in.width), layout)),
        row_bytes_(geometry::row_bytes(std::size_t(width_), layout)),
        whole_(width_ == in.width && height_ == in.height) {
    if (whole_) return;
    copy_.assign(row_bytes_ * std::size_t(height_), 0);
    for (int y = 0; y < height_; ++y)
      std::memcpy(&copy_[row_bytes_ * std::size_t(y)], source_row(y), 3 * std::size_t(width_));
  }

  const tagRECT& content() const { return content_; }

  ServiceWork work() {
    return {whole_ ? pixels_ : copy_.data(), width_, height_, row_bytes_,
            layout_ == geometry::Layout::BitmapBgr};
  }

  void write_back() {
    if (whole_) return;
    for (int y = 0; y < height_; ++y)
      std::memcpy(source_row(y), &copy_[row_bytes_ * std::size_t(y)], 3 * std::size_t(width_));
  }

 private:
  std::uint8_t* source_row(int y) const {
    return pixels_ + source_row_bytes_ * std::size_t(content_.top + y) +
           3 * std::size_t(content_.left);
  }

  std::uint8_t* pixels_;
  geometry::Layout layout_;
  tagRECT content_;
  int width_, height_;
  std::size_t source_row_bytes_, row_bytes_;
  bool whole_;
  std::vector<std::uint8_t> copy_;
};

int check_picture(const LibraryState& library, const DriverPicture& in) {
  if (in.pixels == nullptr || (in.bits_per_pixel != 24 && in.bits_per_pixel != 32) || in.layout > 1)
    return ZKIMGSET_BAD_ARGUMENT;
  if (const int status = geometry::driver_size_status(in.width, in.height); status != ZKIMGSET_OK)
    return status;
  if (library.ColorTable3dMain == nullptr) return ZKIMGSET_OUT_OF_MEMORY;  // start-up failed
  return ZKIMGSET_OK;
}

// The driver's own colour path: the host's contrast and level adjustments,
// the adjustment-only saturation table and unit gains; the clipping range of
// the last analysis for the blend.
colour::Correction driver_correction(LibraryState& library,
                                     const autosetup::AnalysisState& analysis) {
  auto inputs = std::make_unique<autosetup::AnalysisState>();
  inputs->wt_clp = analysis.wt_clp;
  inputs->bk_clp = analysis.bk_clp;
  autosetup::default_gradation(*inputs, library);
  autosetup::final_tone_table(*inputs, library);
  autosetup::adjustment_saturation_table(inputs->sat_coef, library);
  return correction_of(*inputs);
}

int run(LibraryState& library, const autosetup::AnalysisState& analysis, const DriverPicture& in) {
  const std::string folder = platform::parameter_folder();
  if (const int status = check_picture(library, in); status != ZKIMGSET_OK) return status;
  if (library.ExifSetupEnabled == 0) library.setup_mode &= ZKIMGSET_SETUP_SATURATION_KEEP;
  library.service_setup_ran = 0;
  const auto layout = in.layout == 1 ? geometry::Layout::BitmapBgr : geometry::Layout::PackedRgb;
  WorkCopy copy(in, layout);

  if (bind_service(library.service) != ZKIMGSET_OK) return ZKIMGSET_SERVICE_MISSING;
  const BoundService bound(library.service);
  void* tags = make_tag_set(library);
  if ((library.setup_mode & kServiceBits) == kServiceBits)
    if (const int status = service_auto_setup(library, folder, tags, copy.work()); status != 0)
      return status;

  // Everything that can run out of memory comes before the write-back, so
  // a failure leaves the caller's picture as it was.
  const colour::Correction correction = driver_correction(library, analysis);
  copy.write_back();
  colour::reset_colour_math(library);
  colour::build_setup_table(library, correction);
  return pixel_pass(library, in.pixels, in.bits_per_pixel, layout, copy.content(),
                    tagRECT{0, 0, in.width - 1, in.height - 1});
}

}  // namespace

void store_adjustments(LibraryState& library, const int (&v)[9]) noexcept {
  auto clamp16 = [](int value, int low, int high) {
    return static_cast<std::int16_t>(std::clamp(value, low, high));
  };
  library.setup_mode = static_cast<std::uint16_t>(std::clamp(v[0], 0, 255));
  SetupAdjustments& a = library.adjust;
  a.SetupAdjustLevel = clamp16(v[1], 70, 130);
  a.SetupAdjustA = clamp16(v[2], -30, 30);
  a.SetupAdjustB = clamp16(v[3], -150, 150);
  a.SetupAdjustC = clamp16(v[4], -7, 7);
  a.SetupAdjustD = clamp16(v[5], -7, 7);
  a.BalanceStep1 = clamp16(v[6], -7, 7);
  a.BalanceStep2 = clamp16(v[7], -7, 7);
  a.BalanceStep3 = clamp16(v[8], -7, 7);
}

DriverPicture bitmap_picture(void* pixels, int width, int height) noexcept {
  // Only handed on; a width the driver will refuse must not overflow here.
  const std::uint64_t row =
      width < 1 ? 0 : geometry::row_bytes<std::uint64_t>(width, geometry::Layout::BitmapBgr);
  return {static_cast<std::uint8_t*>(pixels),
          width,
          height,
          static_cast<int>(std::min<std::uint64_t>(row, INT_MAX)),
          24,
          1};
}

int run_driver(LibraryState& library, const autosetup::AnalysisState& analysis,
               const DriverPicture& picture) noexcept {
  try {
    return run(library, analysis, picture);
  } catch (...) {  // only allocations can fail inside
    unbind_service(library.service);
    return ZKIMGSET_OUT_OF_MEMORY;
  }
}

}  // namespace zkimgset::setup
