// The JSON reader: what it reads, written back canonically, and where it
// stops on text that is not JSON.
#include "core/json_reader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace zkcli {
namespace {

// Whole numbers without a fraction, others as %g; strings as their bytes.
std::string canonical(const JsonValue& v) {
  using Kind = JsonValue::Kind;
  if (v.kind == Kind::Null) return "null";
  if (v.kind == Kind::Boolean) return v.boolean ? "true" : "false";
  if (v.kind == Kind::String) return "\"" + v.string + "\"";
  if (v.kind == Kind::Number) {
    char text[32];
    std::snprintf(text, sizeof text, v.is_integer() ? "%.0f" : "%g", v.number);
    return text;
  }
  std::string out;
  for (const JsonValue& item : v.items) out += "," + canonical(item);
  for (const auto& [key, value] : v.members) out += ",\"" + key + "\":" + canonical(value);
  out = out.empty() ? "" : out.substr(1);
  return v.kind == Kind::Array ? "[" + out + "]" : "{" + out + "}";
}

struct JsonCase {
  std::string text;
  std::optional<std::string> read;  // canonically; nothing when the text is refused
  const char* refusal;              // in the message
  std::size_t offset;               // of the refusal
};

std::vector<JsonCase> json_cases() {
  const std::string deepest = std::string(kMaxJsonDepth, '[') + std::string(kMaxJsonDepth, ']');
  return {
      {" {\"a\" : [1, -2.5e1, 0.5, true,false,null] ,\"b\":{}}\n",
       R"({"a":[1,-25,0.5,true,false,null],"b":{}})", "", 0},
      {R"({"z":1,"a":2})", R"({"z":1,"a":2})", "", 0},  // the text's order
      {R"("\u00e9\ud83d\ude00 \"\\\/\n")", "\"\xC3\xA9\xF0\x9F\x98\x80 \"\\/\n\"", "", 0},
      {"\"\xE2\x82\xAC\"", "\"\xE2\x82\xAC\"", "", 0},
      {"\xEF\xBB\xBF[]", "[]", "", 0},
      {"[1.0,1e2,-0]", "[1,100,-0]", "", 0},
      {deepest, deepest, "", 0},
      {"", std::nullopt, "expected a value, found end of the text", 0},
      {"[" + deepest + "]", std::nullopt, "nested deeper than 64 levels", kMaxJsonDepth},
      {R"({"a":1,})", std::nullopt, "expected a key in double quotes, found '}'", 7},
      {R"({"a" 1})", std::nullopt, "expected ':' after a key, found '1'", 5},
      {R"({"a":1,"a":2})", std::nullopt, "the key \"a\" appears twice", 7},
      {"[1 2]", std::nullopt, "expected ',' or ']' in an array, found '2'", 3},
      {"[1,]", std::nullopt, "expected a value, found ']'", 3},
      {"01", std::nullopt, "unexpected '1' after the value", 1},
      {"1.", std::nullopt, "expected a digit", 2},
      {"-", std::nullopt, "expected a digit", 1},
      {"1e999", std::nullopt, "a number too large to hold", 0},
      {"NaN", std::nullopt, "expected a value, found 'N'", 0},
      {"tru", std::nullopt, "expected a value", 0},
      {"'a'", std::nullopt, "expected a value, found '''", 0},
      {"\"abc", std::nullopt, "without its closing quote", 4},
      {"\"a\tb\"", std::nullopt, "a control character in a string", 2},
      {R"("\x")", std::nullopt, "an unknown escape", 1},
      {R"("\u12G4")", std::nullopt, "four hexadecimal digits", 5},
      {R"("\ud800")", std::nullopt, "a lone surrogate", 1},
      {R"("\ud800\u0041")", std::nullopt, "a lone surrogate", 1},
      {R"("\udc00")", std::nullopt, "a lone surrogate", 1},
      {"\"\xC0\xAF\"", std::nullopt, "not UTF-8", 1},          // an overlong '/'
      {"\"\xED\xA0\x80\"", std::nullopt, "not UTF-8", 1},      // an encoded surrogate
      {"\"\xF4\x90\x80\x80\"", std::nullopt, "not UTF-8", 1},  // past U+10FFFF
      {"\"\xE2\x82\"", std::nullopt, "not UTF-8", 1},          // cut short
  };
}

TEST(JsonReader, ReadsJsonAndRefusesTheRestWhereItBreaks) {
  for (const JsonCase& c : json_cases()) {
    try {
      const JsonValue value = parse_json(c.text);
      ASSERT_TRUE(c.read) << c.text << " was read as " << canonical(value);
      EXPECT_EQ(canonical(value), *c.read) << c.text;
    } catch (const JsonError& e) {
      ASSERT_FALSE(c.read) << c.text << ": " << e.what();
      EXPECT_NE(std::string(e.what()).find(c.refusal), std::string::npos)
          << c.text << ": " << e.what();
      EXPECT_EQ(e.offset(), c.offset) << c.text << ": " << e.what();
    }
  }
  EXPECT_FALSE(parse_json("[1]").is_integer());
}

}  // namespace
}  // namespace zkcli
