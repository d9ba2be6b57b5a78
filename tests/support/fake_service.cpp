// A stand-in for the Exif-tag service, built only for the tests: the nine
// operations (all but OSTREL_H_DeleteHandle when built with
// FAKE_SERVICE_INCOMPLETE), recording what they are given in a
// FakeServiceLog and answering as it says. Its "corrected picture" is the
// input with every byte inverted, so that a merge can be checked byte by byte.
#include "fake_service.h"

#include <cstring>

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

zkimgset::testing::FakeServiceLog log_;

int set_tag(int directory, int tag, int type, int count, const void* value) {
  const auto* text = static_cast<const char*>(value);
  const std::size_t bytes =
      type == 2 ? std::strlen(text) + 1 : std::size_t(count) * (type == 3 ? 2 : 8);
  log_.tags.push_back({directory, tag, type, count, std::string(text, bytes)});
  return 0;
}

int auto_setup(const std::uint8_t* pixels, std::size_t bytes, std::size_t header, int* size,
               const char* folder, int kind, const char* profile, void** result) {
  ++log_.setup_calls;
  log_.folder = folder;
  log_.profile = profile;
  log_.width = size[0];
  log_.height = size[1];
  log_.kind = kind;
  log_.result.assign(pixels, pixels + header + bytes);
  for (std::size_t i = header; i < log_.result.size(); ++i)
    log_.result[i] = std::uint8_t(~log_.result[i]);
  *result = &log_;
  return log_.setup_result;
}

}  // namespace

FAKE_EXPORT zkimgset::testing::FakeServiceLog* fake_service_log() { return &log_; }

FAKE_EXPORT int OSTREL_T_CreateExifTag(void** tag_set) {
  *tag_set = &log_.tags;
  return 0;
}
FAKE_EXPORT int OSTREL_T_SetTiffifdTag(void*, int tag, int type, int count, const void* value) {
  return set_tag(0, tag, type, count, value);
}
FAKE_EXPORT int OSTREL_T_SetExififdTag(void*, int tag, int type, int count, const void* value) {
  return set_tag(1, tag, type, count, value);
}
FAKE_EXPORT int OSTREL_ST_InitFlags(void* flags) {
  std::memset(flags, 0x11, 256);
  return 0;
}
FAKE_EXPORT int OSTREL_B_AutoSetupWithExifTag(void* bitmap, const char* folder, int, int, int* size,
                                              int kind, const char* profile, void*, void*,
                                              void** result) {
  const int stride = (3 * size[0] + 3) / 4 * 4;
  return auto_setup(static_cast<const std::uint8_t*>(bitmap), std::size_t(stride) * size[1], 40,
                    size, folder, kind, profile, result);
}
FAKE_EXPORT int OSTREL_R_AutoSetupWithExifTag(void* pixels, int* size, const char* folder, int, int,
                                              int*, int kind, const char* profile, void*, void*,
                                              void** result) {
  return auto_setup(static_cast<const std::uint8_t*>(pixels), 3 * std::size_t(size[0]) * size[1], 0,
                    size, folder, kind, profile, result);
}
FAKE_EXPORT int OSTREL_H_GetImagePtr(void*, void** image) {
  if (!log_.has_image) return 1;
  *image = log_.result.data();
  return 0;
}
FAKE_EXPORT int OSTREL_T_DeleteExifTag(void**) {
  ++log_.deleted_tag_sets;
  return 0;
}
#ifndef FAKE_SERVICE_INCOMPLETE
FAKE_EXPORT int OSTREL_H_DeleteHandle(void**) {
  ++log_.deleted_results;
  return 0;
}
#endif
