// Splitting a table text into records (lines) and fields (comma-separated)
// and turning one record into a 1-D or 3-D table entry.
#pragma once

#include <cstdint>
#include <string_view>

namespace zkimgset::colour {

// The next line of the text at *cursor with *left bytes remaining, into a
// 260-byte record buffer that the caller has cleared. Returns the line's
// length without its line end, 0 when nothing is left or the line is empty.
unsigned long get_next_record(char** cursor, unsigned long* left, char* record) noexcept;

// The next comma-separated field of the zero-terminated record at *cursor,
// into a 260-byte field buffer (cleared here). Returns the field's length,
// 0 for an empty or missing field.
unsigned long classify_string(char** cursor, char* field) noexcept;

// A 3-D record: fields 4, 5, 6 are R, G, B. Returns 0 or 18.
int load_3d_lut(char* record, unsigned char* red, unsigned char* green,
                unsigned char* blue) noexcept;

// A 1-D record: fields 2, 3, 4 are R, G, B. Returns 0 or 17.
int load_1d_lut(char* record, unsigned char* red, unsigned char* green,
                unsigned char* blue) noexcept;

// A decimal field read the way atoi reads it (leading white space and a
// sign, then digits up to the first non-digit; anything else gives 0), kept
// as its low 8 bits. Numbers beyond the int range keep their true value
// modulo 256 instead of atoi's undefined result.
std::uint8_t parse_level(std::string_view field) noexcept;

}  // namespace zkimgset::colour
