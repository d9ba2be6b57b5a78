// Fuzzes the colour table text parsers: the first byte picks the 1-D table,
// the 3-D table or the older 33-node layout; the rest is the file text.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "colour/table_files.h"
#include "colour/table_limits.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zkimgset::colour;
  if (size == 0) return 0;
  std::vector<char> text(data + 1, data + size);
  std::vector<std::uint8_t> table(kTable3dBytes);
  switch (data[0] % 3) {
    case 0:
      parse_1d_text(text, table.data());
      break;
    case 1:
      parse_3d_text(text, table.data(), Grid3d::Nodes32);
      break;
    default:
      parse_3d_text(text, table.data(), Grid3d::Nodes33);
      break;
  }
  return 0;
}
