// Every function the library exports. Each checks, locks where the library
// always has, and hands the work to its subsystem; guarded() keeps every
// exception inside.
#include <mutex>

#include "colour/table_files.h"
#include "colour/table_records.h"
#include "exif/exif_params.h"
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

extern "C" {

int Set3dFile(const char* name) {
  return guarded(ZKIMGSET_TABLE3D_FAILED, [&] {
    auto& state = library_state();
    const std::lock_guard hold(state.lock);
    return colour::set_3d_file(state, name, colour::Grid3d::Nodes32);
  });
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

// ---- Exif parameters -------------------------------------------------------

int GetExifParam(const char* path, ExifParam* out) {
  return guarded(ZKIMGSET_FILE_ERROR, [&] {
    auto& state = library_state();
    const std::lock_guard hold(state.lock);
    return zkimgset::exif::get_exif_param(state, path, out);
  });
}

int GetExifParamEx(const char* path, ExifParamEx* out) {
  return guarded(ZKIMGSET_FILE_ERROR, [&] {
    auto& state = library_state();
    const std::lock_guard hold(state.lock);
    return zkimgset::exif::get_exif_param_ex(state, path, out);
  });
}

int SetExifParam(unsigned short custom_rendered, uint32_t w1, uint32_t w2, uint32_t w3, uint32_t w4,
                 uint32_t w5, uint32_t w6, uint32_t w7, uint32_t w8, uint32_t w9) {
  return guarded(ZKIMGSET_OK, [&] {
    auto& state = library_state();
    const std::lock_guard hold(state.lock);
    zkimgset::exif::set_exif_param(state, {custom_rendered, w1, w2, w3, w4, w5, w6, w7, w8, w9});
    return ZKIMGSET_OK;
  });
}

int SetExifParamEx(unsigned short custom_rendered, uint32_t w1, uint32_t w2, uint32_t w3,
                   uint32_t w4, uint32_t w5, uint32_t w6, uint32_t w7, uint32_t w8, uint32_t w9,
                   ExifShotInfo info) {
  return guarded(ZKIMGSET_OK, [&] {
    auto& state = library_state();
    const std::lock_guard hold(state.lock);
    zkimgset::exif::set_exif_param_ex(state, {custom_rendered, w1, w2, w3, w4, w5, w6, w7, w8, w9},
                                      info);
    return ZKIMGSET_OK;
  });
}

}  // extern "C"
