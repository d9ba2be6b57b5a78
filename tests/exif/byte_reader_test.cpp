#include "exif/byte_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace {

using zkimgset::exif::ByteOrder;
using zkimgset::exif::ByteReader;

TEST(ByteReader, ReadsNumbersInItsOrder) {
  const std::vector<std::uint8_t> bytes = {0x12, 0x34, 0x56, 0x78};
  EXPECT_EQ(*ByteReader(bytes, ByteOrder::Little).u16(0), 0x3412);
  EXPECT_EQ(*ByteReader(bytes, ByteOrder::Big).u16(0), 0x1234);
  EXPECT_EQ(*ByteReader(bytes, ByteOrder::Little).u32(0), 0x78563412u);
  EXPECT_EQ(*ByteReader(bytes, ByteOrder::Big).u32(0), 0x12345678u);
}

TEST(ByteReader, RefusesEveryRangeThatPassesTheEnd) {
  const std::vector<std::uint8_t> bytes(16);
  const ByteReader reader(bytes, ByteOrder::Little);
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  const struct {
    std::uint64_t offset, count, size;
    bool inside;
  } cases[] = {
      {0, 16, 1, true},
      {16, 0, 1, true},
      {15, 1, 1, true},
      {16, 1, 1, false},
      {8, 2, 4, true},
      {8, 3, 4, false},
      {17, 0, 1, false},
      {kMax, 1, 1, false},
      {0, kMax / 2 + 1, 2, false},
      {1, kMax, 1, false},
      {4, 1u << 31, 1u << 31, false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(reader.bytes(c.offset, c.count, c.size).has_value(), c.inside)
        << c.offset << " + " << c.count << " x " << c.size;
  EXPECT_FALSE(reader.u32(13).has_value());
  EXPECT_FALSE(reader.u16(15).has_value());
  EXPECT_TRUE(reader.u16(14).has_value());
}

}  // namespace
