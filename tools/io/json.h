// Writes JSON.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace qmsg {

// Writes one JSON value into a string, piece by piece. The calls must form a JSON value: a key
// before each value of an object, and an end for each begin.
class JsonWriter {
 public:
  enum class Style {
    kCompact,  // {"a":[1,2]}
    kPretty,   // one element a line, two spaces a level
  };

  explicit JsonWriter(Style style) : style_(style) {}

  JsonWriter& BeginObject() { return Begin('{'); }
  JsonWriter& EndObject() { return End('}'); }
  JsonWriter& BeginArray() { return Begin('['); }
  JsonWriter& EndArray() { return End(']'); }

  JsonWriter& Key(std::string_view key);

  // Takes UTF-8. Each byte that is not valid UTF-8 becomes U+FFFD: JSON cannot represent it.
  JsonWriter& String(std::string_view text);

  // All digits: a reader that keeps numbers as doubles loses those above 2^53.
  template <typename Integer>
  JsonWriter& Number(Integer number) {
    static_assert(std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>);
    return Bare(std::to_string(number));
  }
  // The fewest digits that read back as the same number. JSON has no numbers for infinities and
  // NaN: they become the strings "Infinity", "-Infinity" and "NaN".
  JsonWriter& Number(double number);
  JsonWriter& Bool(bool value) { return Bare(value ? "true" : "false"); }
  JsonWriter& Null() { return Bare("null"); }

  // The text so far; without a new line at the end.
  const std::string& text() const { return text_; }

 private:
  JsonWriter& Begin(char bracket);
  JsonWriter& End(char bracket);
  JsonWriter& Bare(std::string_view value);
  void Separate();
  void NewLine();
  void Quote(std::string_view text);

  Style style_;
  std::string text_;
  std::vector<bool> levels_;  // for each open bracket: whether it has an element
  bool after_key_ = false;
};

}  // namespace qmsg
