// The table text reader: line splitting with its kept quirks, field
// splitting, record parsing.
#include "colour/table_records.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "colour/table_limits.h"

namespace zkimgset::colour {
namespace {

constexpr char kGuard = '\x5A';

struct Record {
  unsigned long length;
  std::string text;
  bool operator==(const Record&) const = default;
};

void PrintTo(const Record& r, std::ostream* os) { *os << r.length << " \"" << r.text << "\""; }

// Reads every record of a text as the loaders do (clearing the buffer before
// each), stopping after the first 0, and checks that nothing is written past
// the 260-byte record buffer.
std::vector<Record> read_records(std::string text) {
  std::vector<Record> out;
  char* cursor = text.data();
  unsigned long left = static_cast<unsigned long>(text.size());
  char buffer[kRecordBufferBytes + 16];
  for (;;) {
    std::memset(buffer, kGuard, sizeof buffer);
    std::memset(buffer, 0, kRecordBufferBytes);
    const unsigned long n = get_next_record(&cursor, &left, buffer);
    for (std::size_t i = kRecordBufferBytes; i < sizeof buffer; ++i)
      EXPECT_EQ(buffer[i], kGuard) << "written past the record buffer";
    EXPECT_NE(std::memchr(buffer, 0, kRecordBufferBytes), nullptr) << "record not terminated";
    out.push_back({n, buffer});
    if (n == 0) break;
  }
  return out;
}

TEST(GetNextRecord, SplitsAsTheFormatDoes) {
  const std::string k259(259, 'x');
  const struct {
    const char* name;
    std::string text;
    std::vector<Record> records;
  } cases[] = {
      {"line feed", "abc\ndef\n", {{3, "abc"}, {3, "def"}, {0, ""}}},
      {"CR LF", "abc\r\ndef\r\n", {{3, "abc"}, {3, "def"}, {0, ""}}},
      {"last byte lost without a final line feed",
       "0,0,0,12,34,56",
       {{14, "0,0,0,12,34,5"}, {0, ""}}},
      {"a one-character line keeps its line feed", "7\n8\n", {{2, "7\n"}, {2, "8\n"}, {0, ""}}},
      {"a blank CR LF line is not empty", "\r\nxy\n", {{2, "\r\n"}, {2, "xy"}, {0, ""}}},
      {"an empty line ends the data", "ab\n\ncd\n", {{2, "ab"}, {0, ""}}},
      {"a lone final character is lost", "ab\nc", {{2, "ab"}, {1, ""}, {0, ""}}},
      {"stray carriage returns stripped", "ab\r\r\n", {{2, "ab"}, {0, ""}}},
      {"empty text", "", {{0, ""}}},
      {"longest record kept", k259 + "\nzz\n", {{259, k259}, {2, "zz"}, {0, ""}}},
      {"an over-long line cut",
       k259 + std::string(41, 'y') + "\nzz\n",
       {{259, k259}, {2, "zz"}, {0, ""}}}};
  for (const auto& c : cases) EXPECT_EQ(read_records(c.text), c.records) << c.name;
}

TEST(TableRecords, NullArgumentsReadNothing) {
  char text[] = "abc\n";
  char* cursor = text;
  unsigned long left = 4;
  char record[kRecordBufferBytes] = {};
  unsigned char c = 0;
  EXPECT_EQ(get_next_record(&cursor, nullptr, record), 0u);
  EXPECT_EQ(get_next_record(&cursor, &left, nullptr), 0u);
  EXPECT_EQ(cursor, text);
  EXPECT_EQ(load_3d_lut(nullptr, &c, &c, &c), 18);
  EXPECT_EQ(load_1d_lut(text, nullptr, &c, &c), 17);
}

TEST(ClassifyString, SplitsAtEveryCommaAndCutsLongFields) {
  std::string record = std::string(400, '9') + ",,7";
  char* cursor = record.data();
  char field[kRecordBufferBytes + 8];
  std::memset(field, kGuard, sizeof field);
  EXPECT_EQ(classify_string(&cursor, field), kRecordMaxChars);
  EXPECT_EQ(field[kRecordBufferBytes], kGuard) << "cut to its buffer";
  EXPECT_EQ(classify_string(&cursor, field), 0u) << "an empty field";
  EXPECT_EQ(classify_string(&cursor, field), 1u);
  EXPECT_STREQ(field, "7");
  EXPECT_EQ(classify_string(&cursor, field), 0u) << "the end";
}

TEST(LoadLut, ParsesFieldsAndCountsThem) {
  const struct {
    const char* record;
    bool three_d;
    int status;
    unsigned char r, g, b;  // channels not written stay 0xEE
  } cases[] = {{"0,0,0,12,,56", true, 18, 12, 0xEE, 0xEE},
               {"a,b,c, 7,+8,-1,more,fields", true, 0, 7, 8, 255},
               {"7,1,2", false, 17, 1, 2, 0xEE},
               {"0,1,2,3,4", false, 0, 1, 2, 3}};
  for (const auto& c : cases) {
    std::string record = c.record;
    unsigned char r = 0xEE, g = 0xEE, b = 0xEE;
    EXPECT_EQ(
        c.three_d ? load_3d_lut(record.data(), &r, &g, &b) : load_1d_lut(record.data(), &r, &g, &b),
        c.status)
        << c.record;
    EXPECT_EQ((std::array{r, g, b}), (std::array{c.r, c.g, c.b})) << c.record;
  }
}

TEST(ParseLevel, ReadsAsAtoiAndKeepsTheLowByte) {
  const std::pair<const char*, int> cases[] = {
      {"256", 0}, {"-1", 255}, {" \t\r\n-3x", 253}, {"+17", 17},
      {"", 0},    {"x5", 0},   {"4294967297", 1},   {"99999999999999999999999", 255}};
  for (const auto& [text, value] : cases) EXPECT_EQ(parse_level(text), value) << text;
}

}  // namespace
}  // namespace zkimgset::colour
