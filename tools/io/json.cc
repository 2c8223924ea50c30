#include "io/json.h"

#include <array>
#include <charconv>
#include <cmath>

#include "io/text.h"

namespace qmsg {
namespace {

constexpr char kReplacement[] = "\xef\xbf\xbd";

}  // namespace

JsonWriter& JsonWriter::Key(std::string_view key) {
  Separate();
  Quote(key);
  text_ += style_ == Style::kPretty ? ": " : ":";
  after_key_ = true;
  return *this;
}

JsonWriter& JsonWriter::String(std::string_view text) {
  Separate();
  Quote(text);
  return *this;
}

JsonWriter& JsonWriter::Number(double number) {
  if (!std::isfinite(number)) {
    if (std::isnan(number)) {
      return String("NaN");
    }
    return String(number < 0 ? "-Infinity" : "Infinity");
  }
  std::array<char, 32> digits{};
  const std::to_chars_result end =
      std::to_chars(digits.data(), digits.data() + digits.size(), number);
  return Bare({digits.data(), static_cast<std::size_t>(end.ptr - digits.data())});
}

JsonWriter& JsonWriter::Begin(char bracket) {
  Separate();
  text_ += bracket;
  levels_.push_back(false);
  return *this;
}

JsonWriter& JsonWriter::End(char bracket) {
  const bool has_elements = levels_.back();
  levels_.pop_back();
  if (has_elements) {
    NewLine();
  }
  text_ += bracket;
  return *this;
}

JsonWriter& JsonWriter::Bare(std::string_view value) {
  Separate();
  text_ += value;
  return *this;
}

void JsonWriter::Separate() {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (levels_.empty()) {
    return;
  }
  if (levels_.back()) {
    text_ += ',';
  }
  levels_.back() = true;
  NewLine();
}

void JsonWriter::NewLine() {
  if (style_ == Style::kPretty) {
    text_ += '\n';
    text_.append(2 * levels_.size(), ' ');
  }
}

void JsonWriter::Quote(std::string_view text) {
  text_ += '"';
  while (!text.empty()) {
    const std::size_t size = Utf8SequenceSize(text);
    const auto byte = static_cast<unsigned char>(text.front());
    if (size == 0) {
      text_ += kReplacement;
    } else if (byte == '"' || byte == '\\') {
      text_ += {'\\', text.front()};
    } else if (byte == '\n') {
      text_ += "\\n";
    } else if (byte == '\t') {
      text_ += "\\t";
    } else if (byte < 0x20) {
      text_ += {'\\', 'u', '0', '0', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    } else {
      text_ += text.substr(0, size);
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  text_ += '"';
}

}  // namespace qmsg
