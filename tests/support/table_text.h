// Builders for colour table texts, so that tests state only what differs
// from a well-formed file.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zkimgset::testing {

using Rgb = std::array<std::uint8_t, 3>;

// A distinctive output for file node (i, j, k), so that a record landing at
// the wrong node shows.
Rgb file_node_value(int i, int j, int k);

// A 3-D table text: its header, then `records` records, each its node's own
// unless `replace` gives another text for it.
using Replace = std::function<std::optional<std::string>(int index, int i, int j, int k)>;
std::string table3d(const Replace& replace = {}, int records = 33 * 33 * 33,
                    const std::string& header = "3D");
std::string table1d(int records = 256, const std::string& header = "1D");

}  // namespace zkimgset::testing
