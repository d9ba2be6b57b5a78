// The bounds-checked view through which every byte of a camera file or an
// Exif block is read: a span and a byte order. A read that would pass the
// end yields nothing instead of reading; offset + count x size is checked,
// with overflow, before any pointer into the span exists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace zkimgset::exif {

enum class ByteOrder { Little, Big };

// The order of the machine we run on; the writer writes in it.
ByteOrder host_order() noexcept;

// Numbers from bytes that are known to be there.
std::uint16_t decode_u16(const std::uint8_t* bytes, ByteOrder order) noexcept;
std::uint32_t decode_u32(const std::uint8_t* bytes, ByteOrder order) noexcept;

class ByteReader {
 public:
  ByteReader(std::span<const std::uint8_t> bytes, ByteOrder order) noexcept
      : bytes_(bytes), order_(order) {}

  std::size_t size() const noexcept { return bytes_.size(); }
  ByteOrder order() const noexcept { return order_; }

  // The count x size bytes at offset, or nothing when any of them lies
  // outside the view (or the product overflows).
  std::optional<std::span<const std::uint8_t>> bytes(std::uint64_t offset, std::uint64_t count,
                                                     std::uint64_t size = 1) const noexcept;
  std::optional<std::uint8_t> u8(std::uint64_t offset) const noexcept;
  std::optional<std::uint16_t> u16(std::uint64_t offset) const noexcept;
  std::optional<std::uint32_t> u32(std::uint64_t offset) const noexcept;

 private:
  std::span<const std::uint8_t> bytes_;
  ByteOrder order_;
};

}  // namespace zkimgset::exif
