// The byte view under the source-mark check and the document reader, and
// the memory and file streams under every Exif read and write, refuse every
// range that passes an end (overflowing sums included) before copying.
#include "exif/byte_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "exif/exif_stream.h"
#include "support/temp_folder.h"

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

Code code_of(const std::function<void()>& operation) {
  try {
    operation();
  } catch (const ExifError& error) {
    return error.code;
  }
  return code::kOk;
}

TEST(ExifFileStream, RefusesWhatPassesAnEndOrMissesAnArgument) {
  const std::vector<std::uint8_t> source = {1, 2, 3, 4, 5};
  std::vector<std::uint8_t> target(6);
  const zkimgset::testing::TempFolder folder;
  const std::string three = folder.write("three.bin", "abc");
  ExifFileStream in, out, file, closed;
  in.open_memory(std::span<const std::uint8_t>(source));
  out.open_memory(std::span<std::uint8_t>(target));
  std::uint8_t buffer[8] = {}, spare[8];
  const struct {
    const char* what;
    std::function<void()> operation;
    Code expected;
  } rows[] = {
      {"seek 3", [&] { in.seek(3, SEEK_SET); }, code::kOk},
      {"3 bytes from 3 of 5", [&] { in.read(buffer, 1, 3); }, code::kReadFailed},
      {"2 bytes from 3 of 5", [&] { in.read(buffer, 2, 1); }, code::kOk},
      {"an item count that overflows", [&] { in.read(buffer, SIZE_MAX, 2); }, code::kReadFailed},
      {"no buffer", [&] { in.read(nullptr, 1, 1); }, code::kMissingBuffer},
      {"past the end", [&] { in.seek(6, SEEK_SET); }, code::kSeekFailed},
      {"before the start", [&] { in.seek(-1, SEEK_SET); }, code::kSeekFailed},
      {"the start from the end", [&] { in.seek(-5, SEEK_END); }, code::kOk},
      {"back before the start", [&] { in.seek(-1, SEEK_CUR); }, code::kSeekFailed},
      {"an unknown origin", [&] { in.seek(0, 7); }, code::kSeekFailed},
      {"a negative start", [&] { in.set_start(-1); }, code::kSeekFailed},
      {"writing a block opened for reading", [&] { in.write(buffer, 1, 1); }, code::kWriteFailed},
      {"printing 5 of 6", [&] { out.print("%d-%s", 42, "ab"); }, code::kOk},
      {"printing past the end", [&] { out.print("xy"); }, code::kWriteFailed},
      {"no path", [&] { file.open(nullptr, "rb"); }, code::kMissingArgument},
      {"no such file", [&] { file.open("/no/such/file.jpg", "rb"); }, code::kOpenFailed},
      {"reading a closed stream", [&] { closed.read(buffer, 1, 1); }, code::kReadFailed},
      {"writing a closed stream", [&] { closed.write(buffer, 1, 1); }, code::kWriteFailed},
      {"seeking a closed stream", [&] { closed.seek(0, SEEK_SET); }, code::kSeekFailed},
      {"open a file", [&] { file.open(three.c_str(), "rb"); }, code::kOk},
      {"seek 1 in the file", [&] { file.seek(1, SEEK_SET); }, code::kOk},
      {"3 bytes from 1 of 3", [&] { file.read(spare, 1, 3); }, code::kReadFailed},
  };
  for (const auto& row : rows) EXPECT_EQ(code_of(row.operation), row.expected) << row.what;
  EXPECT_EQ(buffer[1], 5);
  EXPECT_EQ(std::string(target.begin(), target.end()), std::string("42-ab\0", 6));
  EXPECT_EQ(file.size(), 3);
}

}  // namespace
