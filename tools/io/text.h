// Characters of text.
#pragma once

#include <cstddef>
#include <string_view>

namespace qmsg {

constexpr char kHexDigits[] = "0123456789abcdef";

// Of ASCII letters.
constexpr char Lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

// White space as C's isspace has it, whatever the locale.
constexpr bool IsSpace(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

// The edit distance between two texts, ignoring the case of ASCII letters.
std::size_t EditDistance(std::string_view a, std::string_view b);

// The size of the well-formed UTF-8 sequence that `text` begins with; 0 if there is none.
std::size_t Utf8SequenceSize(std::string_view text);

}  // namespace qmsg
