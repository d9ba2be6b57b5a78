// A stand-in for the Exif-tag service, built only for the tests: the nine
// operations (all but OSTREL_H_DeleteHandle when built with
// FAKE_SERVICE_INCOMPLETE), recording what they are given and answering as
// fake_service_configure() says. Its "corrected picture" is the input with
// every byte inverted, so that a merge can be checked byte by byte.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

struct Tag {
  int directory;  // 0 TIFF, 1 Exif
  int tag, type, count;
  std::vector<std::uint8_t> value;
};

struct Log {
  int setup_result = 0;   // what the automatic set-up returns
  bool has_image = true;  // whether GetImagePtr hands back a picture
  std::vector<Tag> tags;
  std::string folder, profile;
  int width = 0, height = 0, kind = 0, setup_calls = 0, deleted_tag_sets = 0, deleted_results = 0;
  std::vector<std::uint8_t> result;
} log_;

std::size_t value_bytes(int type, int count, const void* value) {
  if (type == 2) return std::strlen(static_cast<const char*>(value)) + 1;
  return std::size_t(count) * (type == 3 ? 2 : 8);
}

int set_tag(int directory, int tag, int type, int count, const void* value) {
  const auto* bytes = static_cast<const std::uint8_t*>(value);
  log_.tags.push_back({directory, tag, type, count,
                       std::vector<std::uint8_t>(bytes, bytes + value_bytes(type, count, value))});
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

FAKE_EXPORT void fake_service_configure(int setup_result, int has_image) {
  log_ = Log{};
  log_.setup_result = setup_result;
  log_.has_image = has_image != 0;
}
FAKE_EXPORT const void* fake_service_log() { return &log_; }

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

// What the tests read back.
FAKE_EXPORT int fake_service_setup_calls() { return log_.setup_calls; }
FAKE_EXPORT int fake_service_tag_count() { return int(log_.tags.size()); }
FAKE_EXPORT void fake_service_tag(int i, int* directory, int* tag, int* type, int* count,
                                  const unsigned char** value) {
  const Tag& t = log_.tags[std::size_t(i)];
  *directory = t.directory, *tag = t.tag, *type = t.type, *count = t.count;
  *value = t.value.data();
}
FAKE_EXPORT const char* fake_service_folder() { return log_.folder.c_str(); }
FAKE_EXPORT const char* fake_service_profile() { return log_.profile.c_str(); }
FAKE_EXPORT void fake_service_size(int* width, int* height, int* kind) {
  *width = log_.width, *height = log_.height, *kind = log_.kind;
}
