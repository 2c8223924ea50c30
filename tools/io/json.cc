#include "io/json.h"

#include <array>
#include <charconv>
#include <cmath>

namespace qmsg {
namespace {

constexpr char kReplacement[] = "\xef\xbf\xbd";

// The size of the well-formed UTF-8 sequence that `text` begins with; 0 if there is none.
std::size_t SequenceSize(std::string_view text) {
  const auto byte = [text](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const unsigned first = byte(0);
  if (first < 0x80) {
    return 1;
  }
  // Overlong forms, surrogates and what is above U+10FFFF show in the second byte.
  unsigned low = 0x80;
  unsigned high = 0xbf;
  std::size_t size = 0;
  if (first >= 0xc2 && first <= 0xdf) {
    size = 2;
  } else if (first >= 0xe0 && first <= 0xef) {
    size = 3;
    low = first == 0xe0 ? 0xa0 : low;
    high = first == 0xed ? 0x9f : high;
  } else if (first >= 0xf0 && first <= 0xf4) {
    size = 4;
    low = first == 0xf0 ? 0x90 : low;
    high = first == 0xf4 ? 0x8f : high;
  }
  if (size == 0 || byte(1) < low || byte(1) > high) {
    return 0;
  }
  for (std::size_t i = 2; i < size; ++i) {
    if ((byte(i) & 0xc0U) != 0x80) {
      return 0;
    }
  }
  return size;
}

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
  static constexpr char kDigits[] = "0123456789abcdef";
  text_ += '"';
  while (!text.empty()) {
    const std::size_t size = SequenceSize(text);
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
      text_ += {'\\', 'u', '0', '0', kDigits[byte >> 4], kDigits[byte & 15]};
    } else {
      text_ += text.substr(0, size);
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  text_ += '"';
}

}  // namespace qmsg
