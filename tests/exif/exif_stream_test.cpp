#include "exif/exif_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "support/temp_folder.h"

namespace {

using namespace zkimgset::exif;

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
