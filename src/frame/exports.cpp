// Every function the library exports. Each checks, locks where the library
// always has, and hands the work to its subsystem; guarded() keeps every
// exception inside.
#include "autosetup/analysis.h"
#include "autosetup/analysis_state.h"
#include "autosetup/dump.h"
#include "colour/conversions.h"
#include "colour/table_files.h"
#include "colour/table_records.h"
#include "exif/exif_params.h"
#include "frame/guard.h"
#include "frame/library_state.h"
#include "frame/table_gate.h"
#include "geometry/picture.h"
#include "resize/resize_exec.h"
#include "setup/driver.h"
#include "setup/image_data_convert.h"
#include "zkimgset/zkimgset.h"

using zkimgset::guarded;
using zkimgset::library_state;
namespace colour = zkimgset::colour;

// ---- Table text records (decorated, no lock) ------------------------------

unsigned long Get_Next_Record(char** cursor, unsigned long* left, char* record) {
  return colour::get_next_record(cursor, left, record);
}

unsigned long Classify_String(char** cursor, char* field) {
  return colour::classify_string(cursor, field);
}

int Load_3D_LUT(char* record, unsigned char* red, unsigned char* green, unsigned char* blue) {
  return colour::load_3d_lut(record, red, green, blue);
}

int Load_1D_LUT(char* record, unsigned char* red, unsigned char* green, unsigned char* blue) {
  return colour::load_1d_lut(record, red, green, blue);
}

// ---- Table files -----------------------------------------------------------

int Set1dFile(const char* name) {
  return guarded(ZKIMGSET_TABLE1D_FAILED,
                 [&] { return colour::set_1d_file(library_state(), name); });
}

int Set3dFile_old(const char* name) {
  return guarded(ZKIMGSET_TABLE3D_FAILED, [&] {
    return colour::set_3d_file(library_state(), name, colour::Grid3d::Nodes33);
  });
}

int Load3dpFile(const char* name) {
  return guarded(ZKIMGSET_NOT_LOADED, [&] { return colour::load_3dp_file(library_state(), name); });
}

// ---- Image data conversion (no lock) -------------------------------------------

int ImageDataConvertEx(void* data, int width, int height, int mode, void* record, tagRECT* area,
                       tagRECT* bounds) {
  return guarded(ZKIMGSET_OUT_OF_MEMORY, [&] {
    return zkimgset::setup::image_data_convert(
        library_state(), zkimgset::autosetup::analysis_state(), data, width, height, mode,
        static_cast<const AutoSetupParam*>(record), area, bounds);
  });
}

// ---- Analysis ----------------------------------------------------------------

void DumpAutoSetupParam(const char* folder, const char* base_name, tagRECT* image_rect,
                        _ThumbnailData* thumbnail) {
  zkimgset::autosetup::dump_auto_setup_param(folder, base_name, image_rect, thumbnail,
                                             zkimgset::autosetup::analysis_state(),
                                             library_state());
}

extern "C" {

int Set3dFile(const char* name) {
  return guarded(ZKIMGSET_TABLE3D_FAILED, [&] {
    auto& state = library_state();
    const zkimgset::platform::LockHold hold(state.lock);
    return colour::set_3d_file(state, name, colour::Grid3d::Nodes32);
  });
}

// ---- Analysis (no lock) -----------------------------------------------------

int GetAtParamEx(const void* image, int width, int height, AutoSetupParam* result,
                 unsigned short flash, int brightness_mother, int brightness_child) {
  return guarded(ZKIMGSET_OUT_OF_MEMORY, [&] {
    return zkimgset::autosetup::get_at_param(
        static_cast<const std::uint8_t*>(image), width, height, result, flash, brightness_mother,
        brightness_child, zkimgset::autosetup::analysis_state(), library_state());
  });
}

int GetAtParam(const void* image, int width, int height, AutoSetupParam* result) {
  return GetAtParamEx(image, width, height, result, zkimgset::ShootingValues::kFlashUnknown, 0, 0);
}

int GetAtParamFromDIBitsEx(const void*, int, int, AutoSetupParam*, unsigned short flash,
                           int brightness_mother, int brightness_child) {
  ExifParam& shot = library_state().shooting.param;
  shot.Flash = flash;
  shot.BrightnessValue_num = brightness_child;
  shot.BrightnessValue_den = brightness_mother;
  return ZKIMGSET_OK;
}

int GetAtParamFromDIBits(const void* bits, int width, int height, AutoSetupParam* result) {
  return GetAtParamFromDIBitsEx(bits, width, height, result,
                                zkimgset::ShootingValues::kFlashUnknown, 0, 0);
}

// ---- Density and colour-balance conversions (lock) ----------------------------

namespace {

using zkimgset::colour::Core;
using zkimgset::geometry::Layout;

int convert_locked(unsigned char* pixels, int width, int height, Layout layout, Core core,
                   int red = 0, int green = 0, int blue = 0) {
  return guarded(ZKIMGSET_OUT_OF_MEMORY, [&] {
    auto& state = library_state();
    const zkimgset::platform::LockHold hold(state.lock);
    return zkimgset::colour::convert(state, pixels, width, height, layout, core,
                                     {red, green, blue});
  });
}

}  // namespace

int Den2TA(unsigned char* p, int w, int h) {
  return convert_locked(p, w, h, Layout::PackedRgb, Core::Density);
}
int Den2TAEx(unsigned char* p, int w, int h, int r, int g, int b) {
  return convert_locked(p, w, h, Layout::PackedRgb, Core::Density, r, g, b);
}
int Den2TA_BGR(unsigned char* p, int w, int h) {
  return convert_locked(p, w, h, Layout::BitmapBgr, Core::Density);
}
int Den2TA_BGREx(unsigned char* p, int w, int h, int r, int g, int b) {
  return convert_locked(p, w, h, Layout::BitmapBgr, Core::Density, r, g, b);
}
int Vorn2TA(unsigned char* p, int w, int h) {
  return convert_locked(p, w, h, Layout::PackedRgb, Core::ThreeD);
}
int Vorn2TA_BGR(unsigned char* p, int w, int h) {
  return convert_locked(p, w, h, Layout::BitmapBgr, Core::ThreeD);
}
int Den2Vorn(unsigned char* p, int w, int h) {
  return convert_locked(p, w, h, Layout::PackedRgb, Core::OneD);
}
int Den2VornEx(unsigned char* p, int w, int h, int r, int g, int b) {
  return convert_locked(p, w, h, Layout::PackedRgb, Core::OneD, r, g, b);
}
int Den2Vorn_BGR(unsigned char* p, int w, int h) {
  return convert_locked(p, w, h, Layout::BitmapBgr, Core::OneD);
}
int Den2Vorn_BGREx(unsigned char* p, int w, int h, int r, int g, int b) {
  return convert_locked(p, w, h, Layout::BitmapBgr, Core::OneD, r, g, b);
}
int ColorBalanceAdj(unsigned char* p, int w, int h, int r, int g, int b) {
  return convert_locked(p, w, h, Layout::PackedRgb, Core::Balance, r, g, b);
}
int ColorBalanceAdj_BGR(unsigned char* p, int w, int h, int r, int g, int b) {
  return convert_locked(p, w, h, Layout::BitmapBgr, Core::Balance, r, g, b);
}

int BgrRgbConversion(unsigned char* pixels, int width, int height) {
  return guarded(ZKIMGSET_OK, [&] {
    zkimgset::colour::bitmap_to_packed(pixels, width, height);
    return ZKIMGSET_OK;
  });
}

int RgbBgrConversion(unsigned char* pixels, int width, int height) {
  return guarded(ZKIMGSET_OK, [&] {
    zkimgset::colour::packed_to_bitmap(pixels, width, height);
    return ZKIMGSET_OK;
  });
}

// ---- Set-up driver ------------------------------------------------------------

int AutoSetupExecEx(void* pixels, int width, int height, int stride, int bits_per_pixel,
                    unsigned int layout, unsigned short, int, int) {
  return guarded(ZKIMGSET_OUT_OF_MEMORY, [&] {
    auto& state = library_state();
    const zkimgset::platform::LockHold hold(state.lock);
    return zkimgset::setup::run_driver(
        state, zkimgset::autosetup::analysis_state(),
        {static_cast<std::uint8_t*>(pixels), width, height, stride, bits_per_pixel, layout});
  });
}

int ImageSetupExecEx(void* pixels, int width, int height, int stride, int bits_per_pixel,
                     unsigned int layout, int setup_mode, int level, int contrast, int saturation,
                     int blue_shift, int red_shift, int red_step, int green_step, int blue_step) {
  return guarded(ZKIMGSET_OUT_OF_MEMORY, [&] {
    auto& state = library_state();
    if (const int status = zkimgset::table_status_gate(state); status != ZKIMGSET_OK) return status;
    zkimgset::setup::store_adjustments(state, {setup_mode, level, contrast, saturation, blue_shift,
                                               red_shift, red_step, green_step, blue_step});
    const zkimgset::platform::LockHold hold(state.lock);
    for (std::int16_t* step :
         {&state.adjust.BalanceStep1, &state.adjust.BalanceStep2, &state.adjust.BalanceStep3})
      *step = static_cast<std::int16_t>(*step + zkimgset::ColourMath::kNoShift);
    return zkimgset::setup::run_driver(
        state, zkimgset::autosetup::analysis_state(),
        {static_cast<std::uint8_t*>(pixels), width, height, stride, bits_per_pixel, layout});
  });
}

int ImageDataConvert(void* pixels, int width, int height) {
  return guarded(ZKIMGSET_OUT_OF_MEMORY, [&] {
    auto& state = library_state();
    state.setup_mode = ZKIMGSET_SETUP_FULL;
    state.ColorConvMode = ZKIMGSET_CONV_SKIP_3D_TABLE;
    if (const int status = zkimgset::table_status_gate(state); status != ZKIMGSET_OK) return status;
    return zkimgset::setup::run_driver(state, zkimgset::autosetup::analysis_state(),
                                       zkimgset::setup::bitmap_picture(pixels, width, height));
  });
}

// ---- Resize (no lock) ----------------------------------------------------------

int ResizeExec(const ZKImgSetBitmapInfoHeader* source_header, const void* source_pixels,
               ZKImgSetBitmapInfoHeader* result_header, void* result_pixels, int new_width,
               int new_height) {
  return guarded(ZKIMGSET_OUT_OF_MEMORY, [&] {
    return zkimgset::resize::resize_exec(
        source_header, static_cast<const std::uint8_t*>(source_pixels), result_header,
        static_cast<std::uint8_t*>(result_pixels), new_width, new_height);
  });
}

// ---- Colour arithmetic -----------------------------------------------------

int SetColorConvMode(unsigned short mode) {
  return guarded(ZKIMGSET_OK, [&] {
    auto& state = library_state();
    const zkimgset::platform::LockHold hold(state.lock);
    state.ColorConvMode = static_cast<std::int16_t>(mode);
    return ZKIMGSET_OK;
  });
}

// ---- Exif parameters -------------------------------------------------------

int GetExifParam(const char* path, ExifParam* out) {
  return guarded(ZKIMGSET_FILE_ERROR, [&] {
    auto& state = library_state();
    const zkimgset::platform::LockHold hold(state.lock);
    return zkimgset::exif::get_exif_param(state, path, out);
  });
}

int GetExifParamEx(const char* path, ExifParamEx* out) {
  return guarded(ZKIMGSET_FILE_ERROR, [&] {
    auto& state = library_state();
    const zkimgset::platform::LockHold hold(state.lock);
    return zkimgset::exif::get_exif_param_ex(state, path, out);
  });
}

int SetExifParam(unsigned short custom_rendered, uint32_t w1, uint32_t w2, uint32_t w3, uint32_t w4,
                 uint32_t w5, uint32_t w6, uint32_t w7, uint32_t w8, uint32_t w9) {
  return guarded(ZKIMGSET_OK, [&] {
    auto& state = library_state();
    const zkimgset::platform::LockHold hold(state.lock);
    zkimgset::exif::set_exif_param(state, {custom_rendered, w1, w2, w3, w4, w5, w6, w7, w8, w9});
    return ZKIMGSET_OK;
  });
}

int SetExifParamEx(unsigned short custom_rendered, uint32_t w1, uint32_t w2, uint32_t w3,
                   uint32_t w4, uint32_t w5, uint32_t w6, uint32_t w7, uint32_t w8, uint32_t w9,
                   ExifShotInfo info) {
  return guarded(ZKIMGSET_OK, [&] {
    auto& state = library_state();
    const zkimgset::platform::LockHold hold(state.lock);
    zkimgset::exif::set_exif_param_ex(state, {custom_rendered, w1, w2, w3, w4, w5, w6, w7, w8, w9},
                                      info);
    return ZKIMGSET_OK;
  });
}

}  // extern "C"
