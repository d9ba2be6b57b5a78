// Builders for colour table texts, so that tests state only what differs
// from a well-formed file.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zkimgset::testing {

struct Rgb {
  std::uint8_t r, g, b;
  bool operator==(const Rgb&) const = default;
};

// A distinctive, non-identity output for file node (i, j, k), so that a
// record landing at the wrong node shows.
Rgb file_node_value(int i, int j, int k);

struct Table3dText {
  std::string header = "3D";
  std::string line_end = "\n";
  int records = 33 * 33 * 33;
  // Overrides the text of the record at this position (0-based) when it
  // gives one.
  std::function<std::optional<std::string>(int index, int i, int j, int k)> record;

  std::string build() const;
};

struct Table1dText {
  std::string header = "1D";
  std::string line_end = "\n";
  int records = 256;

  std::string build() const;
};

// The output of 1-D record `level` in Table1dText.
Rgb level_value(int level);

}  // namespace zkimgset::testing
