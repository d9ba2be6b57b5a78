// A small, strict JSON reader (RFC 8259) for the files other programs hand
// the tool, such as a review page's decisions. The text must be exactly one
// value with white space around it at most; nothing lenient is accepted (no
// comments, trailing commas, single quotes, NaN, lone surrogates, invalid
// UTF-8 or a key twice in one object), so a file is either read as written
// or refused with the byte where it went wrong. Only a UTF-8 byte-order mark
// in front is passed over, as text editors add one.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zkcli {

// Arrays and objects nested deeper than this are refused: no file the tool
// reads needs more than a few levels, and each level is a stack frame.
inline constexpr int kMaxJsonDepth = 64;
// Nor more values than this in one text: each takes about a hundred bytes
// held, so a file of tens of megabytes of "0," would take gigabytes. A
// review's decisions take a dozen values a picture.
inline constexpr std::size_t kMaxJsonValues = 1000000;

struct JsonValue {
  enum class Kind { Null, Boolean, Number, String, Array, Object };
  Kind kind = Kind::Null;
  bool boolean = false;
  double number = 0;
  std::string string;  // UTF-8, escapes resolved
  std::vector<JsonValue> items;
  std::vector<std::pair<std::string, JsonValue>> members;  // in the text's order

  // An object's member named key, or nullptr (also when this is no object).
  const JsonValue* find(std::string_view key) const;
  // A number without a fraction: 110, 110.0 and 1.1e2 alike.
  bool is_integer() const;
};

// "null", "true or false", "a number", "a string", "an array", "an object".
const char* json_kind_name(JsonValue::Kind kind);

// Why a text is not JSON, and the byte (from 0) where that was found.
class JsonError : public std::runtime_error {
 public:
  JsonError(std::size_t offset, const std::string& what)
      : std::runtime_error(what), offset_(offset) {}
  std::size_t offset() const { return offset_; }

 private:
  std::size_t offset_;
};

// The value the text holds. JsonError otherwise.
JsonValue parse_json(std::string_view text);

}  // namespace zkcli
