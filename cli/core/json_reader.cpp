// A recursive-descent reader over the text's bytes. Every refusal carries
// the offset of the byte that broke the grammar, so a message can point at
// it.
#include "core/json_reader.h"

#include <charconv>
#include <cmath>
#include <set>

namespace zkcli {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The length of the UTF-8 sequence at s[at], or 0 when it is not a valid
// one: overlong forms, surrogates and code points past U+10FFFF are not.
std::size_t utf8_length(std::string_view s, std::size_t at) {
  const auto lead = static_cast<unsigned char>(s[at]);
  std::size_t length = 0;
  char32_t code = 0, least = 0;
  if (lead < 0x80) return 1;
  if ((lead & 0xE0) == 0xC0) length = 2, code = lead & 0x1F, least = 0x80;
  if ((lead & 0xF0) == 0xE0) length = 3, code = lead & 0x0F, least = 0x800;
  if ((lead & 0xF8) == 0xF0) length = 4, code = lead & 0x07, least = 0x10000;
  if (length == 0 || at + length > s.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(s[at + i]);
    if ((next & 0xC0) != 0x80) return 0;
    code = (code << 6) | (next & 0x3F);
  }
  if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
  return length;
}

void append_utf8(std::string& out, char32_t code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  JsonValue document() {
    if (text_.substr(0, kByteOrderMark.size()) == kByteOrderMark) at_ = kByteOrderMark.size();
    JsonValue value = any(0);
    skip_space();
    if (at_ < text_.size()) fail("unexpected " + what_is_here() + " after the value");
    return value;
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { throw JsonError(at_, what); }

  std::string what_is_here() const {
    if (at_ >= text_.size()) return "end of the text";
    const char c = text_[at_];
    if (c > ' ' && c < 0x7F) return std::string("'") + c + "'";
    return "byte " + std::to_string(static_cast<unsigned char>(c));
  }

  void skip_space() {
    while (at_ < text_.size() &&
           (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\n' || text_[at_] == '\r'))
      ++at_;
  }

  bool take(char c) {
    skip_space();
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  JsonValue any(int depth) {
    skip_space();
    if (++values_ > kMaxJsonValues)
      fail("more than " + std::to_string(kMaxJsonValues) + " values in one text");
    JsonValue v;
    const char c = at_ < text_.size() ? text_[at_] : '\0';
    if (c == '{' || c == '[') {
      if (depth == kMaxJsonDepth)
        fail("nested deeper than " + std::to_string(kMaxJsonDepth) + " levels");
      ++at_;
      c == '{' ? object(v, depth + 1) : array(v, depth + 1);
    } else if (c == '"') {
      v.kind = JsonValue::Kind::String;
      v.string = string();
    } else if (c == '-' || is_digit(c)) {
      v.kind = JsonValue::Kind::Number;
      v.number = number();
    } else if (word("true") || word("false")) {
      v.kind = JsonValue::Kind::Boolean;
      v.boolean = c == 't';
    } else if (!word("null")) {
      fail("expected a value, found " + what_is_here());
    }
    return v;
  }

  bool word(std::string_view w) {
    if (text_.substr(at_, w.size()) != w) return false;
    at_ += w.size();
    return true;
  }

  void object(JsonValue& v, int depth) {
    v.kind = JsonValue::Kind::Object;
    if (take('}')) return;
    std::set<std::string> keys;
    do {
      skip_space();
      if (at_ >= text_.size() || text_[at_] != '"')
        fail("expected a key in double quotes, found " + what_is_here());
      const std::size_t key_at = at_;
      std::string key = string();
      if (!keys.insert(key).second) {
        at_ = key_at;
        fail("the key \"" + key + "\" appears twice in one object");
      }
      if (!take(':')) fail("expected ':' after a key, found " + what_is_here());
      JsonValue member = any(depth);
      v.members.emplace_back(std::move(key), std::move(member));
    } while (take(','));
    if (!take('}')) fail("expected ',' or '}' in an object, found " + what_is_here());
  }

  void array(JsonValue& v, int depth) {
    v.kind = JsonValue::Kind::Array;
    if (take(']')) return;
    do v.items.push_back(any(depth));
    while (take(','));
    if (!take(']')) fail("expected ',' or ']' in an array, found " + what_is_here());
  }

  // The grammar is checked here; from_chars then converts the same bytes.
  double number() {
    const std::size_t start = at_;
    auto digits = [&] {
      const std::size_t from = at_;
      while (at_ < text_.size() && is_digit(text_[at_])) ++at_;
      if (at_ == from) fail("expected a digit in a number, found " + what_is_here());
    };
    if (text_[at_] == '-') ++at_;
    if (at_ < text_.size() && text_[at_] == '0')
      ++at_;
    else
      digits();
    if (at_ < text_.size() && text_[at_] == '.') ++at_, digits();
    if (at_ < text_.size() && (text_[at_] == 'e' || text_[at_] == 'E')) {
      ++at_;
      if (at_ < text_.size() && (text_[at_] == '+' || text_[at_] == '-')) ++at_;
      digits();
    }
    double value = 0;
    const auto [end, error] = std::from_chars(text_.data() + start, text_.data() + at_, value);
    if (error != std::errc() || end != text_.data() + at_ || !std::isfinite(value)) {
      at_ = start;
      fail("a number too large to hold");
    }
    return value;
  }

  unsigned hex4() {
    unsigned value = 0;
    for (int i = 0; i < 4; ++i, ++at_) {
      const char c = at_ < text_.size() ? text_[at_] : '\0';
      const int digit = is_digit(c)            ? c - '0'
                        : c >= 'a' && c <= 'f' ? c - 'a' + 10
                        : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                               : -1;
      if (digit < 0) fail("expected four hexadecimal digits after \\u");
      value = value * 16 + static_cast<unsigned>(digit);
    }
    return value;
  }

  // A string, at its opening quote.
  std::string string() {
    std::string out;
    for (++at_;;) {
      if (at_ >= text_.size()) fail("a string without its closing quote");
      const char c = text_[at_];
      if (c == '"') break;
      if (static_cast<unsigned char>(c) < 0x20)
        fail("a control character in a string (write it as an escape)");
      if (c != '\\') {
        const std::size_t length = utf8_length(text_, at_);
        if (length == 0) fail("a byte that is not UTF-8 in a string");
        out.append(text_, at_, length);
        at_ += length;
        continue;
      }
      const std::size_t escape_at = at_++;
      const char e = at_ < text_.size() ? text_[at_++] : '\0';
      constexpr std::string_view kEscapes = "\"\"\\\\//b\bf\fn\nr\rt\t";
      const std::size_t plain = kEscapes.find(e);
      if (e != 'u' && (plain == std::string_view::npos || plain % 2 != 0)) {
        at_ = escape_at;
        fail("an unknown escape in a string");
      }
      if (e != 'u') {
        out += kEscapes[plain + 1];
        continue;
      }
      char32_t code = hex4();
      if (code >= 0xD800 && code <= 0xDBFF && word("\\u")) {
        const unsigned low = hex4();
        if (low >= 0xDC00 && low <= 0xDFFF)
          code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
      }
      if (code >= 0xD800 && code <= 0xDFFF) {
        at_ = escape_at;
        fail("a lone surrogate escape in a string");
      }
      append_utf8(out, code);
    }
    ++at_;
    return out;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t values_ = 0;
};

}  // namespace

const JsonValue* JsonValue::find(std::string_view key) const {
  for (const auto& [name, value] : members)
    if (name == key) return &value;
  return nullptr;
}

bool JsonValue::is_integer() const { return kind == Kind::Number && std::floor(number) == number; }

const char* json_kind_name(JsonValue::Kind kind) {
  switch (kind) {
    case JsonValue::Kind::Null:
      return "null";
    case JsonValue::Kind::Boolean:
      return "true or false";
    case JsonValue::Kind::Number:
      return "a number";
    case JsonValue::Kind::String:
      return "a string";
    case JsonValue::Kind::Array:
      return "an array";
    case JsonValue::Kind::Object:
      return "an object";
  }
  return "?";
}

JsonValue parse_json(std::string_view text) { return Parser(text).document(); }

}  // namespace zkcli
