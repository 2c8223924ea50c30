// The writer produces the JSON of RFC 8259; expected values are written by hand.

#include "io/json.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace qmsg {
namespace {

using Style = JsonWriter::Style;

std::string Text(const std::string& text) {
  return JsonWriter(Style::kCompact).String(text).text();
}

std::string Number(double number) { return JsonWriter(Style::kCompact).Number(number).text(); }

TEST(JsonWriter, SeparatesElementsByCommasAndKeysByColons) {
  JsonWriter json(Style::kCompact);
  json.BeginObject().Key("a").BeginArray().Number(1).Number(2).EndArray();
  json.Key("b").BeginObject().EndObject().Key("c").Null().Key("d").Bool(false).EndObject();
  EXPECT_EQ(json.text(), R"({"a":[1,2],"b":{},"c":null,"d":false})");
}

TEST(JsonWriter, IndentsByTwoSpacesALevelIfPretty) {
  JsonWriter json(Style::kPretty);
  json.BeginObject().Key("a").BeginArray().Number(1).String("x").EndArray();
  json.Key("b").BeginArray().EndArray().EndObject();
  EXPECT_EQ(json.text(), "{\n  \"a\": [\n    1,\n    \"x\"\n  ],\n  \"b\": []\n}");
}

TEST(JsonWriter, EscapesCharactersThatStringsCannotHold) {
  struct Case {
    const char* what;
    std::string text;
    std::string expected;
  };
  const Case cases[] = {
      {"nothing", "", R"("")"},
      {"quotes and backslashes", R"(a"b\c)", R"("a\"b\\c")"},
      {"new line and tab", "\n\t", R"("\n\t")"},
      {"other control characters", std::string("\0\r\x1f", 3), R"("\u0000\u000d\u001f")"},
      {"DEL and slash need nothing", "\x7f/", "\"\x7f/\""},
      {"two, three and four bytes", "\u00e4\u20ac\U0001f600", "\"\u00e4\u20ac\U0001f600\""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Text(c.text), c.expected) << c.what;
  }
  JsonWriter json(Style::kCompact);
  json.BeginObject().Key("\"").Null().EndObject();
  EXPECT_EQ(json.text(), R"({"\"":null})") << "keys";
}

TEST(JsonWriter, ReplacesBytesThatAreNotUtf8) {
  struct Case {
    const char* what;
    std::string text;
    std::string expected;
  };
  const std::string r = "\ufffd";
  const Case cases[] = {
      {"a continuation alone", "a\x80z", "a" + r + "z"},
      {"a sequence cut off at the end", "a\xe2\x82", "a" + r + r},
      {"a sequence cut off by a letter", "\xc3z", r + "z"},
      {"overlong in two bytes", "\xc0\xaf", r + r},
      {"overlong in three bytes", "\xe0\x9f\xbf", r + r + r},
      {"overlong in four bytes", "\xf0\x8f\xbf\xbf", r + r + r + r},
      {"the first after these", "\xe0\xa0\x80\xf0\x90\x80\x80", "\xe0\xa0\x80\xf0\x90\x80\x80"},
      {"a surrogate", "\xed\xa0\x80", r + r + r},
      {"the last before the surrogates", "\xed\x9f\xbf", "\xed\x9f\xbf"},
      {"above U+10FFFF", "\xf4\x90\x80\x80", r + r + r + r},
      {"U+10FFFF", "\xf4\x8f\xbf\xbf", "\xf4\x8f\xbf\xbf"},
      {"no first byte at all", "\xff", r},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Text(c.text), "\"" + c.expected + "\"") << c.what;
  }
}

TEST(JsonWriter, KeepsEveryDigitOfIntegers) {
  JsonWriter json(Style::kCompact);
  json.BeginArray().Number(std::numeric_limits<std::uint64_t>::max());
  json.Number(std::numeric_limits<std::int64_t>::min()).Number(-1).EndArray();
  EXPECT_EQ(json.text(), "[18446744073709551615,-9223372036854775808,-1]");
}

TEST(JsonWriter, WritesDoublesThatReadBackAsTheyWere) {
  EXPECT_EQ(Number(0.1), "0.1");
  EXPECT_EQ(Number(-0.0), "-0");
  EXPECT_EQ(Number(1e300), "1e+300");
  EXPECT_EQ(Number(5e-324), "5e-324");
  EXPECT_EQ(Number(std::numeric_limits<double>::infinity()), R"("Infinity")");
  EXPECT_EQ(Number(-std::numeric_limits<double>::infinity()), R"("-Infinity")");
  EXPECT_EQ(Number(std::numeric_limits<double>::quiet_NaN()), R"("NaN")");
}

}  // namespace
}  // namespace qmsg
