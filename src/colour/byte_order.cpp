// BgrRgbConversion and RgbBgrConversion: between bottom-up bitmap rows
// (B, G, R, padded to 4 bytes) and top-down packed R, G, B rows, in place
// through a temporary. The row length and its padding are 16-bit unsigned
// quantities, so widths above 21845 wrap; that limit is part of the format.
#include <cstdint>
#include <cstring>
#include <vector>

#include "colour/conversions.h"

namespace zkimgset::colour {
namespace {

struct Rows {
  std::uint16_t packed, padded;
};

Rows rows_of(int width) {
  const auto packed = static_cast<std::uint16_t>(width * 3);
  const auto pad = static_cast<std::uint16_t>((4 - packed % 4) % 4);
  return {packed, static_cast<std::uint16_t>(packed + pad)};
}

}  // namespace

void bitmap_to_packed(std::uint8_t* pixels, int width, int height) {
  if (pixels == nullptr || width <= 0 || height <= 0) return;
  const Rows rows = rows_of(width);
  std::vector<std::uint8_t> out(std::size_t(width) * 3 * std::size_t(height));
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* src = pixels + std::size_t(rows.padded) * std::size_t(height - 1 - y);
    std::uint8_t* dst = out.data() + std::size_t(rows.packed) * std::size_t(y);
    for (int x = 0; x < rows.packed / 3; ++x, src += 3, dst += 3) {
      dst[0] = src[2];
      dst[1] = src[1];
      dst[2] = src[0];
    }
  }
  std::memcpy(pixels, out.data(), out.size());
}

void packed_to_bitmap(std::uint8_t* pixels, int width, int height) {
  if (pixels == nullptr || width <= 0 || height <= 0) return;
  const Rows rows = rows_of(width);
  std::vector<std::uint8_t> out(std::size_t(rows.padded) * std::size_t(height));  // zeroed
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* src = pixels + std::size_t(rows.packed) * std::size_t(y);
    std::uint8_t* dst = out.data() + std::size_t(rows.padded) * std::size_t(height - 1 - y);
    for (int x = 0; x < rows.packed / 3; ++x, src += 3, dst += 3) {
      dst[0] = src[2];
      dst[1] = src[1];
      dst[2] = src[0];
    }
  }
  std::memcpy(pixels, out.data(), out.size());
}

}  // namespace zkimgset::colour
