// The service's part of a driver call. Kept on purpose: the Model text goes
// to the service under the Make tag (0x010F) after the Make text; with
// packed rows only width x height bytes of the work copy take the service's
// result.
#include "setup/service_setup.h"

#include <cstring>
#include <vector>

#include "frame/service_binding.h"

namespace zkimgset::setup {
namespace {

constexpr const char* kProfile = "sRGB10_8.prf";
constexpr int kFlagBlockBytes = 256;
constexpr int kBitmapHeaderBytes = 40;
constexpr int kPixelsPerMetre = 2834;
enum ServiceForm { kBitmapForm = 3, kPackedForm = 1 };

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

// Packed rows go to the service as they are, bitmap rows behind a bitmap
// header. The service's own status.
int call_service(const ServiceBinding& s, const std::string& folder, void* tags,
                 const ServiceWork& work, std::uint8_t* flags, void** result) {
  int size[2] = {work.width, work.height};
  if (!work.bitmap)
    return s.packed_auto_setup(work.pixels, size, folder.c_str(), 0, 0, size, kPackedForm, kProfile,
                               flags, tags, result);
  const std::size_t bytes = work.row_bytes * std::size_t(work.height);
  std::vector<std::uint8_t> block(kBitmapHeaderBytes + bytes);
  const std::int32_t header[10] = {kBitmapHeaderBytes,
                                   work.width,
                                   work.height,
                                   1 | (24 << 16),
                                   0,
                                   0,
                                   kPixelsPerMetre,
                                   kPixelsPerMetre,
                                   0,
                                   0};
  std::memcpy(block.data(), header, sizeof header);
  std::memcpy(block.data() + kBitmapHeaderBytes, work.pixels, bytes);
  return s.bitmap_auto_setup(block.data(), folder.c_str(), 0, 0, size, kBitmapForm, kProfile, flags,
                             tags, result);
}

void merge(const LibraryState& library, const std::uint8_t* corrected, const ServiceWork& work) {
  std::uint8_t* const pixels = work.pixels;
  const std::size_t n = work.bitmap ? work.row_bytes * std::size_t(work.height)
                                    : std::size_t(work.width) * std::size_t(work.height);
  const bool rendered = library.shooting.param.CustomRendered == 1;
  const bool average = (library.setup_mode & ZKIMGSET_SETUP_HALVE) != 0;
  for (std::size_t i = 0; i < n; ++i) {
    const int old = pixels[i], res = corrected[i];
    pixels[i] = std::uint8_t(rendered ? (res + 2 * old) / 3 : average ? (old + res) / 2 : res);
  }
}

}  // namespace

void* make_tag_set(LibraryState& library) {
  void* tags = nullptr;
  library.service.create_exif_tag(&tags);
  build_tag_set(library.service, tags, library);
  return tags;
}

int service_auto_setup(LibraryState& library, const std::string& folder, void* tags,
                       const ServiceWork& work) {
  ServiceBinding& service = library.service;
  std::uint8_t flags[kFlagBlockBytes] = {};
  service.init_flags(flags);
  void* result = nullptr;
  if (const int status = call_service(service, folder, tags, work, flags, &result); status != 0)
    return status == 1 ? ZKIMGSET_SERVICE_REFUSED : ZKIMGSET_SERVICE_FAILED;
  void* image = nullptr;
  if (service.get_image(result, &image) != 0 || image == nullptr) return ZKIMGSET_SERVICE_NO_RESULT;
  merge(library, static_cast<const std::uint8_t*>(image) + (work.bitmap ? kBitmapHeaderBytes : 0),
        work);
  service.delete_exif_tag(&tags);
  service.delete_handle(&result);
  library.service_setup_ran = 1;
  return ZKIMGSET_OK;
}

}  // namespace zkimgset::setup
