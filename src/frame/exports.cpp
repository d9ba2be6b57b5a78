// Every function the library exports. Each checks, locks where the library
// always has, and hands the work to its subsystem; guarded() keeps every
// exception inside.
#include <mutex>

#include "autosetup/analysis.h"
#include "autosetup/analysis_state.h"
#include "autosetup/dump.h"
#include "colour/table_files.h"
#include "colour/table_records.h"
#include "frame/guard.h"
#include "frame/library_state.h"
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
    const std::lock_guard hold(state.lock);
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

// ---- Colour arithmetic -----------------------------------------------------

int SetColorConvMode(unsigned short mode) {
  return guarded(ZKIMGSET_OK, [&] {
    auto& state = library_state();
    const std::lock_guard hold(state.lock);
    state.ColorConvMode = static_cast<std::int16_t>(mode);
    return ZKIMGSET_OK;
  });
}

}  // extern "C"
