// Characters of text.
#pragma once

#include <cstddef>
#include <string_view>

namespace qmsg {

constexpr char kHexDigits[] = "0123456789abcdef";

// White space as C's isspace has it, whatever the locale.
constexpr bool IsSpace(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

// The size of the well-formed UTF-8 sequence that `text` begins with; 0 if there is none.
std::size_t Utf8SequenceSize(std::string_view text);

}  // namespace qmsg
