#pragma once

#include <cstdint>
#include <vector>

namespace zkimgset::testing {

// The input level a 3-D grid node stands for: 0, then 15, 23, ..., 255.
inline int grid_node_input(int n) { return n == 0 ? 0 : 8 * n + 7; }

// A 107811-byte 3-D table in which every node holds its own inputs.
std::vector<std::uint8_t> identity_table_3d();

}  // namespace zkimgset::testing
