#include "support/table_text.h"

namespace zkimgset::testing {
namespace {

std::string record(const std::string& key, const Rgb& v) {
  return key + "," + std::to_string(v[0]) + "," + std::to_string(v[1]) + "," +
         std::to_string(v[2]) + "\n";
}

}  // namespace

Rgb file_node_value(int i, int j, int k) {
  return {static_cast<std::uint8_t>(i * 7 + j), static_cast<std::uint8_t>(j * 5 + k + 1),
          static_cast<std::uint8_t>(255 - (i + j + k))};
}

std::string table3d(const Replace& replace, int records, const std::string& header) {
  std::string text = header + "\n";
  for (int index = 0; index < records; ++index) {
    const int i = index / (33 * 33), j = index / 33 % 33, k = index % 33;
    const auto line = replace ? replace(index, i, j, k) : std::nullopt;
    const std::string key = std::to_string(i) + "," + std::to_string(j) + "," + std::to_string(k);
    text += line ? *line + "\n" : record(key, file_node_value(i, j, k));
  }
  return text;
}

std::string table1d(int records, const std::string& header) {
  std::string text = header + "\n";
  for (int level = 0; level < records; ++level) text += std::to_string(level) + ",1,2,3\n";
  return text;
}

}  // namespace zkimgset::testing
