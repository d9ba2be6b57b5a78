// Table text records. The reader keeps the quirks of the format on purpose:
// - the last byte of a text never reaches a record, so a table file must end
//   with a line feed;
// - a one-character line keeps its line feed (and returns 2);
// - an empty line returns 0, which every loader takes as the end of the data.
// Lines longer than a record buffer are cut; nothing is written past it.
#include "colour/table_records.h"

#include <cstring>
#include <string_view>

#include "colour/table_limits.h"
#include "zkimgset/zkimgset.h"

namespace zkimgset::colour {
namespace {

bool is_line_end(char c) { return c == '\r' || c == '\n'; }

bool is_atoi_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// The field at cursor (up to the next comma or the record's end), moving the
// cursor past its comma. Fields longer than a field buffer are cut.
std::string_view next_field(char*& cursor) {
  char* start = cursor;
  std::size_t length = 0;
  while (start[length] != ',' && start[length] != '\0') ++length;
  cursor = start + length + (start[length] == ',' ? 1 : 0);
  return {start, length < kRecordMaxChars ? length : kRecordMaxChars};
}

// Reads `total` fields; the last three are red, green and blue, each stored
// as soon as its field is read. A missing or empty field fails with
// `failure`, leaving the channels read so far written. Fields are read in
// place: the same result as copying each into a field buffer first.
int load_rgb_record(char* record, int total, int failure, unsigned char* red, unsigned char* green,
                    unsigned char* blue) {
  if (record == nullptr || red == nullptr || green == nullptr || blue == nullptr) return failure;
  unsigned char* channel[3] = {red, green, blue};
  char* cursor = record;
  for (int i = 0; i < total; ++i) {
    const std::string_view field = next_field(cursor);
    if (field.empty()) return failure;
    const int c = i - (total - 3);
    if (c >= 0) *channel[c] = parse_level(field);
  }
  return ZKIMGSET_OK;
}

}  // namespace

unsigned long get_next_record(char** cursor, unsigned long* left, char* record) noexcept {
  if (cursor == nullptr || *cursor == nullptr || left == nullptr || record == nullptr || *left == 0)
    return 0;
  const char* src = *cursor;
  unsigned long remaining = *left;
  std::size_t pos = 0;  // write position
  unsigned long n = 0;  // characters consumed
  for (;;) {
    const char c = *src++;
    --remaining;
    ++n;
    if (pos < kRecordMaxChars) record[pos] = c;
    if (c == '\n') {
      ++pos;
      break;
    }
    // At the end of the text the write position stays on the last byte, so
    // the terminating zero below replaces it.
    if (remaining == 0) break;
    ++pos;
  }
  *cursor = const_cast<char*>(src);
  *left = remaining;

  if (pos > kRecordMaxChars) {  // an over-long line keeps its first 259 characters
    pos = kRecordMaxChars;
    n = kRecordMaxChars;
  }
  // A one-character line keeps its line feed, and its terminator is the
  // caller's cleared buffer.
  if (n == 2 && is_line_end(record[pos - 1])) return 2;
  while (pos > 0 && is_line_end(record[pos - 1])) {
    --pos;
    --n;
  }
  record[pos] = '\0';
  return n;
}

unsigned long classify_string(char** cursor, char* field) noexcept {
  if (field == nullptr) return 0;
  std::memset(field, 0, kRecordBufferBytes);
  if (cursor == nullptr || *cursor == nullptr) return 0;
  const std::string_view kept = next_field(*cursor);
  std::memcpy(field, kept.data(), kept.size());
  return kept.size();
}

int load_3d_lut(char* record, unsigned char* red, unsigned char* green,
                unsigned char* blue) noexcept {
  return load_rgb_record(record, 6, ZKIMGSET_TABLE3D_FAILED, red, green, blue);
}

int load_1d_lut(char* record, unsigned char* red, unsigned char* green,
                unsigned char* blue) noexcept {
  return load_rgb_record(record, 4, ZKIMGSET_TABLE1D_FAILED, red, green, blue);
}

std::uint8_t parse_level(std::string_view field) noexcept {
  std::size_t i = 0;
  while (i < field.size() && is_atoi_space(field[i])) ++i;
  const bool negative = i < field.size() && field[i] == '-';
  if (i < field.size() && (field[i] == '-' || field[i] == '+')) ++i;
  std::uint32_t value = 0;  // wraps: only the low 8 bits are kept
  for (; i < field.size() && field[i] >= '0' && field[i] <= '9'; ++i)
    value = value * 10u + static_cast<std::uint32_t>(field[i] - '0');
  if (negative) value = 0u - value;
  return static_cast<std::uint8_t>(value);
}

}  // namespace zkimgset::colour
