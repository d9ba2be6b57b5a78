// Bounds-checked reads of byte-ordered numbers. Nothing here reads a byte
// before the whole range it belongs to has been checked.
#include "exif/byte_reader.h"

#include <bit>
#include <iterator>
#include <limits>

namespace zkimgset::exif {

ByteOrder host_order() noexcept {
  return std::endian::native == std::endian::little ? ByteOrder::Little : ByteOrder::Big;
}

std::uint16_t decode_u16(const std::uint8_t* bytes, ByteOrder order) noexcept {
  if (order == ByteOrder::Little) return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint32_t decode_u32(const std::uint8_t* bytes, ByteOrder order) noexcept {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) {
    const std::uint32_t byte = order == ByteOrder::Little ? bytes[3 - i] : bytes[i];
    value = value << 8 | byte;
  }
  return value;
}

std::optional<std::span<const std::uint8_t>> ByteReader::bytes(std::uint64_t offset,
                                                               std::uint64_t count,
                                                               std::uint64_t size) const noexcept {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  if (size != 0 && count > kMax / size) return std::nullopt;
  const std::uint64_t length = count * size;
  if (offset > bytes_.size() || length > bytes_.size() - offset) return std::nullopt;
  return bytes_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
}

std::optional<std::uint8_t> ByteReader::u8(std::uint64_t offset) const noexcept {
  const auto span = bytes(offset, 1);
  if (!span) return std::nullopt;
  return (*span)[0];
}

std::optional<std::uint16_t> ByteReader::u16(std::uint64_t offset) const noexcept {
  const auto span = bytes(offset, 1, 2);
  if (!span) return std::nullopt;
  return decode_u16(span->data(), order_);
}

std::optional<std::uint32_t> ByteReader::u32(std::uint64_t offset) const noexcept {
  const auto span = bytes(offset, 1, 4);
  if (!span) return std::nullopt;
  return decode_u32(span->data(), order_);
}

}  // namespace zkimgset::exif
