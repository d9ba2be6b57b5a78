// The set-up driver, step by step as the library has always run it. The
// caller's picture is left untouched until the merged work copy is written
// back; every return after the service is bound unbinds it. Kept on purpose:
// the Model text goes to the service under the Make tag (0x010F) after the
// Make text; with packed rows only width x height bytes of the work copy take
// the service's result; 32-bit pixels are copied three bytes at a time.
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

namespace zkimgset::setup {
namespace {

constexpr unsigned kServiceBits = 0x1F;  // all five: the service's automatic set-up runs
constexpr const char* kProfile = "sRGB10_8.prf";
constexpr int kFlagBlockBytes = 256;
constexpr int kBitmapHeaderBytes = 40;
constexpr int kPixelsPerMetre = 2834;
enum ServiceForm { kBitmapForm = 3, kPackedForm = 1 };

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

void build_tag_set(const ServiceBinding& s, void* tags, const LibraryState& library) {
  const ExifParam& p = library.shooting.param;
  const ShootingValues& v = library.shooting;
  for (const char* text : {library.MakerText1, library.MakerText2}) {
    const std::size_t length = strnlen(text, kMakerTextBytes - 1);
    if (length == 0) continue;
    std::string terminated(text, length);
    s.set_tiff_tag(tags, 0x010F, 2, int(length + 1), terminated.c_str());
  }
  const std::uint16_t flash = p.Flash, iso = v.ISOSpeedRatings;
  if (flash != ShootingValues::kFlashUnknown) s.set_exif_tag(tags, 0x9209, 3, 1, &flash);
  const std::int32_t brightness[2] = {p.BrightnessValue_num, p.BrightnessValue_den};
  if (brightness[1] != 0) s.set_exif_tag(tags, 0x9203, 10, 1, brightness);
  if (iso != 0) s.set_exif_tag(tags, 0x8827, 3, 1, &iso);
  if (v.ExposureTime[1] != 0) s.set_exif_tag(tags, 0x829A, 5, 1, v.ExposureTime);
  if (v.FNumber[1] != 0) s.set_exif_tag(tags, 0x829D, 5, 1, v.FNumber);
  if (v.ShutterSpeedValue[1] != 0) s.set_exif_tag(tags, 0x9201, 10, 1, v.ShutterSpeedValue);
  if (v.ApertureValue[1] != 0) s.set_exif_tag(tags, 0x9202, 5, 1, v.ApertureValue);
  const std::uint16_t scene = p.SceneCaptureType, rendered = p.CustomRendered;
  s.set_exif_tag(tags, 0xA406, 3, 1, &scene);
  s.set_exif_tag(tags, 0xA401, 3, 1, &rendered);
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
  if (in.pixels == nullptr || (in.bits_per_pixel != 24 && in.bits_per_pixel != 32) || in.layout > 1)
    return ZKIMGSET_BAD_ARGUMENT;
  if (const int status = geometry::driver_size_status(in.width, in.height); status != ZKIMGSET_OK)
    return status;
  if (library.ColorTable3dMain == nullptr) return ZKIMGSET_OUT_OF_MEMORY;  // start-up failed
  if (library.ExifSetupEnabled == 0) library.setup_mode &= ZKIMGSET_SETUP_SATURATION_KEEP;
  library.service_setup_ran = 0;
  const tagRECT full{0, 0, in.width - 1, in.height - 1};

  const bool bitmap = in.layout == 1;
  const geometry::Picture picture{
      in.pixels, in.width, in.height,
      bitmap ? geometry::Layout::BitmapBgr : geometry::Layout::PackedRgb};
  const tagRECT content = geometry::content_rectangle(picture);
  const int cw = content.right - content.left + 1, ch = content.bottom - content.top + 1;
  const std::size_t source_row_bytes = picture.row_bytes();
  const std::size_t content_row = geometry::row_bytes(std::size_t(cw), picture.layout);
  const bool whole = cw == in.width && ch == in.height;
  auto source_row = [&](int y) {
    return in.pixels + source_row_bytes * std::size_t(content.top + y) +
           3 * std::size_t(content.left);
  };
  std::vector<std::uint8_t> copy;
  if (!whole) {
    copy.assign(content_row * std::size_t(ch), 0);
    for (int y = 0; y < ch; ++y)
      std::memcpy(&copy[content_row * std::size_t(y)], source_row(y), 3 * std::size_t(cw));
  }
  std::uint8_t* work = whole ? in.pixels : copy.data();

  ServiceBinding& service = library.service;
  if (bind_service(service) != ZKIMGSET_OK) return ZKIMGSET_SERVICE_MISSING;
  const BoundService bound(service);
  void* tags = nullptr;
  service.create_exif_tag(&tags);
  build_tag_set(service, tags, library);

  if ((library.setup_mode & kServiceBits) == kServiceBits) {
    std::uint8_t flags[kFlagBlockBytes] = {};
    service.init_flags(flags);
    int size[2] = {cw, ch};
    void* result = nullptr;
    int status;
    if (!bitmap) {
      status = service.packed_auto_setup(work, size, folder.c_str(), 0, 0, size, kPackedForm,
                                         kProfile, flags, tags, &result);
    } else {
      std::vector<std::uint8_t> block(kBitmapHeaderBytes + content_row * std::size_t(ch));
      const std::int32_t header[10] = {
          kBitmapHeaderBytes, cw, ch, 1 | (24 << 16), 0, 0, kPixelsPerMetre, kPixelsPerMetre, 0, 0};
      std::memcpy(block.data(), header, sizeof header);
      std::memcpy(block.data() + kBitmapHeaderBytes, work, content_row * std::size_t(ch));
      status = service.bitmap_auto_setup(block.data(), folder.c_str(), 0, 0, size, kBitmapForm,
                                         kProfile, flags, tags, &result);
    }
    if (status != 0) return status == 1 ? ZKIMGSET_SERVICE_REFUSED : ZKIMGSET_SERVICE_FAILED;
    void* image = nullptr;
    if (service.get_image(result, &image) != 0 || image == nullptr)
      return ZKIMGSET_SERVICE_NO_RESULT;
    const std::uint8_t* corrected =
        static_cast<const std::uint8_t*>(image) + (bitmap ? kBitmapHeaderBytes : 0);
    const std::size_t n =
        bitmap ? content_row * std::size_t(ch) : std::size_t(cw) * std::size_t(ch);
    const bool rendered = library.shooting.param.CustomRendered == 1;
    const bool average = (library.setup_mode & ZKIMGSET_SETUP_HALVE) != 0;
    for (std::size_t i = 0; i < n; ++i) {
      const int old = work[i], res = corrected[i];
      work[i] = std::uint8_t(rendered ? (res + 2 * old) / 3 : average ? (old + res) / 2 : res);
    }
    service.delete_exif_tag(&tags);
    service.delete_handle(&result);
    library.service_setup_ran = 1;
  }

  // Everything that can run out of memory comes before the write-back, so
  // a failure leaves the caller's picture as it was.
  const colour::Correction correction = driver_correction(library, analysis);
  if (!whole)
    for (int y = 0; y < ch; ++y)
      std::memcpy(source_row(y), &copy[content_row * std::size_t(y)], 3 * std::size_t(cw));
  colour::reset_colour_math(library);
  colour::build_setup_table(library, correction);
  return pixel_pass(library, in.pixels, in.bits_per_pixel,
                    bitmap ? geometry::Layout::BitmapBgr : geometry::Layout::PackedRgb, content,
                    full);
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
