// What the Exif-tag service's test double records and how it answers: the
// double keeps one of these, and a test reads and configures it through the
// double's fake_service_log().
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zkimgset::testing {

struct FakeServiceTag {
  int directory;  // 0 TIFF, 1 Exif
  int tag, type, count;
  std::string value;
  bool operator==(const FakeServiceTag&) const = default;
};

struct FakeServiceLog {
  int setup_result = 0;   // what the automatic set-up returns
  bool has_image = true;  // whether GetImagePtr hands back a picture
  std::vector<FakeServiceTag> tags;
  std::string folder, profile;
  int width = 0, height = 0, kind = 0, setup_calls = 0, deleted_tag_sets = 0, deleted_results = 0;
  std::vector<std::uint8_t> result;
};

}  // namespace zkimgset::testing
