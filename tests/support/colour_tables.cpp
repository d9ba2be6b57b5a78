#include "support/colour_tables.h"

#include "colour/table_limits.h"

namespace zkimgset::testing {

std::vector<std::uint8_t> identity_table_3d() {
  std::vector<std::uint8_t> t(colour::kTable3dBytes, 0);
  for (int i = 0; i < 32; ++i)
    for (int j = 0; j < 32; ++j)
      for (int k = 0; k < 32; ++k) {
        std::uint8_t* node = &t[std::size_t((i * 32 + j) * 32 + k) * 3];
        node[0] = static_cast<std::uint8_t>(grid_node_input(i));
        node[1] = static_cast<std::uint8_t>(grid_node_input(j));
        node[2] = static_cast<std::uint8_t>(grid_node_input(k));
      }
  return t;
}

}  // namespace zkimgset::testing
