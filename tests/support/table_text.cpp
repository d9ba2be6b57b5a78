#include "support/table_text.h"

namespace zkimgset::testing {

Rgb file_node_value(int i, int j, int k) {
  return {static_cast<std::uint8_t>(i * 7 + j), static_cast<std::uint8_t>(j * 5 + k + 1),
          static_cast<std::uint8_t>(255 - (i + j + k))};
}

Rgb level_value(int level) {
  return {static_cast<std::uint8_t>(level), static_cast<std::uint8_t>(255 - level),
          static_cast<std::uint8_t>(level / 2)};
}

std::string Table3dText::build() const {
  std::string text = header + line_end;
  for (int index = 0; index < records; ++index) {
    const int i = index / (33 * 33), j = index / 33 % 33, k = index % 33;
    std::optional<std::string> line = record ? record(index, i, j, k) : std::nullopt;
    if (!line) {
      const Rgb v = file_node_value(i, j, k);
      line = std::to_string(i) + "," + std::to_string(j) + "," + std::to_string(k) + "," +
             std::to_string(v.r) + "," + std::to_string(v.g) + "," + std::to_string(v.b);
    }
    text += *line + line_end;
  }
  return text;
}

std::string Table1dText::build() const {
  std::string text = header + line_end;
  for (int level = 0; level < records; ++level) {
    const Rgb v = level_value(level);
    text += std::to_string(level) + "," + std::to_string(v.r) + "," + std::to_string(v.g) + "," +
            std::to_string(v.b) + line_end;
  }
  return text;
}

}  // namespace zkimgset::testing
