// The bounded views under every Exif read: the byte view and the memory and
// file stream fail before copying anything past an end.
#include "exif/exif_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <vector>

#include "exif/byte_reader.h"
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
               {15, 1, 1, true},
               {16, 1, 1, false},
               {8, 2, 4, true},
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
  EXPECT_FALSE(reader.u16(15).has_value());
  EXPECT_TRUE(reader.u16(14).has_value());
}

template <class Operation>
Code code_of(Operation&& operation) {
  try {
    operation();
  } catch (const ExifError& error) {
    return error.code;
  }
  return code::kOk;
}

TEST(ExifFileStream, MemoryReadsAndWritesStopAtTheBlockEnd) {
  const std::vector<std::uint8_t> source = {1, 2, 3, 4, 5};
  ExifFileStream in;
  in.open_memory(std::span<const std::uint8_t>(source));
  std::uint8_t buffer[8] = {};
  in.seek(3, SEEK_SET);
  EXPECT_EQ(code_of([&] { in.read(buffer, 1, 3); }), code::kReadFailed);
  EXPECT_EQ(in.tell(), 3) << "a failed read moves nothing";
  EXPECT_EQ(code_of([&] { in.read(buffer, 2, 1); }), code::kOk);
  EXPECT_EQ(buffer[1], 5);
  EXPECT_EQ(code_of([&] { in.read(buffer, SIZE_MAX, 2); }), code::kReadFailed);
  EXPECT_EQ(code_of([&] { in.read(nullptr, 1, 1); }), code::kMissingBuffer);
  EXPECT_EQ(code_of([&] { in.seek(6, SEEK_SET); }), code::kSeekFailed);
  EXPECT_EQ(code_of([&] { in.seek(-1, SEEK_SET); }), code::kSeekFailed);
  EXPECT_EQ(code_of([&] { in.seek(-5, SEEK_END); }), code::kOk);
  EXPECT_EQ(code_of([&] { in.write(buffer, 1, 1); }), code::kWriteFailed) << "opened for reading";

  std::vector<std::uint8_t> target(6);
  ExifFileStream out;
  out.open_memory(std::span<std::uint8_t>(target));
  out.print("%d-%s", 42, "ab");
  EXPECT_EQ(code_of([&] { out.print("xy"); }), code::kWriteFailed);
  EXPECT_EQ(std::string(target.begin(), target.end()), std::string("42-ab\0", 6));
  EXPECT_EQ(out.size(), 6);
}

TEST(ExifFileStream, ReportsFileFailuresWithTheirCodes) {
  ExifFileStream stream;
  EXPECT_EQ(code_of([&] { stream.open(nullptr, "rb"); }), code::kMissingArgument);
  EXPECT_EQ(code_of([&] { stream.open("/no/such/file.jpg", "rb"); }), code::kOpenFailed);
  std::uint8_t four[4];
  EXPECT_EQ(code_of([&] { stream.read(four, 1, 1); }), code::kReadFailed) << "not open";
  const zkimgset::testing::TempFolder folder;
  stream.open(folder.write("three.bin", "abc").c_str(), "rb");
  stream.seek(1, SEEK_SET);
  EXPECT_EQ(stream.size(), 3);
  EXPECT_EQ(stream.tell(), 1) << "size keeps the position";
  EXPECT_EQ(code_of([&] { stream.read(four, 1, 3); }), code::kReadFailed);
}

}  // namespace
