// The byte view under the source-mark check and the document reader
// refuses every range that passes its end, overflowing sums included (the
// streams are driven by the corpus and the fuzz replays).
#include "exif/byte_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace {

using namespace zkimgset::exif;

TEST(ByteReader, RefusesEveryRangeThatPassesTheEnd) {
  const std::vector<std::uint8_t> bytes(16);
  const ByteReader reader(bytes, ByteOrder::Little);
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  const struct {
    std::uint64_t offset, count, size;
    bool inside;
  } cases[] = {{0, 16, 1, true},
               {16, 0, 1, true},
               {16, 1, 1, false},
               {8, 3, 4, false},
               {17, 0, 1, false},
               {kMax, 1, 1, false},
               {0, kMax / 2 + 1, 2, false},
               {1, kMax, 1, false},
               {4, 1u << 31, 1u << 31, false}};
  for (const auto& c : cases)
    EXPECT_EQ(reader.bytes(c.offset, c.count, c.size).has_value(), c.inside)
        << c.offset << " + " << c.count << " x " << c.size;
  EXPECT_FALSE(reader.u32(13).has_value());
}

}  // namespace
