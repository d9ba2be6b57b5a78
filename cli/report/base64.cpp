#include "report/base64.h"

#include <cstddef>
#include <cstdint>

namespace zkcli {

std::string base64_encode(std::string_view bytes) {
  static constexpr char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  auto byte = [&](std::size_t k) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[k]));
  };
  for (; i + 3 <= bytes.size(); i += 3) {
    const std::uint32_t group = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
    for (int shift = 18; shift >= 0; shift -= 6) out += kAlphabet[(group >> shift) & 63];
  }
  const std::size_t left = bytes.size() - i;
  if (left > 0) {
    const std::uint32_t group = byte(i) << 16 | (left == 2 ? byte(i + 1) << 8 : 0);
    out += kAlphabet[group >> 18];
    out += kAlphabet[(group >> 12) & 63];
    out += left == 2 ? kAlphabet[(group >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

}  // namespace zkcli
