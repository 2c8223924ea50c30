#include "io/escape.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "io/text.h"

namespace qmsg {
namespace {

struct CharacterRange {
  std::uint32_t first;
  std::uint32_t last;
};

// Characters beyond ASCII that a terminal interprets, does not show, or shows out of order.
constexpr std::array kHidden{
    CharacterRange{0x80, 0x9f},      // C1
    CharacterRange{0xad, 0xad},      // soft hyphen
    CharacterRange{0x61c, 0x61c},    // Arabic letter mark
    CharacterRange{0x180e, 0x180e},  // Mongolian vowel separator
    CharacterRange{0x200b, 0x200f},  // of zero width, and marks of direction
    CharacterRange{0x2028,
                   0x202e},  // ends of line and paragraph, embeddings and overrides of direction
    CharacterRange{0x2060, 0x206f},    // word joiner, isolates of direction, and the like
    CharacterRange{0xfeff, 0xfeff},    // byte order mark
    CharacterRange{0xfff9, 0xfffb},    // annotations
    CharacterRange{0xe0000, 0xe0fff},  // tags and selectors
};

constexpr std::uint32_t kFirstWide = 0x1100;  // below it no character takes two columns

std::string Number(char letter, std::uint32_t value, int digits) {
  std::string text{'\\', letter};
  for (int i = digits - 1; i >= 0; --i) {
    text += kHexDigits[value >> (4 * i) & 15U];
  }
  return text;
}

std::uint32_t CodePoint(std::string_view sequence) {
  const auto first = static_cast<unsigned char>(sequence.front());
  std::uint32_t code = sequence.size() == 1 ? first : first & (0xffU >> (sequence.size() + 1));
  for (const char byte : sequence.substr(1)) {
    code = code << 6U | (static_cast<unsigned char>(byte) & 0x3fU);
  }
  return code;
}

std::string ShowAscii(char character) {
  switch (character) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    case '"':
    case '\\':
      return {'\\', character};
    default:
      break;
  }
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7f ? Number('x', byte, 2) : std::string(1, character);
}

}  // namespace

Shown ShowCharacter(std::string_view text) {
  const std::size_t size = Utf8SequenceSize(text);
  if (size == 0) {
    return {Number('x', static_cast<unsigned char>(text.front()), 2), 1, 4};
  }
  if (size == 1) {
    std::string shown = ShowAscii(text.front());
    const std::size_t columns = shown.size();
    return {std::move(shown), 1, columns};
  }
  const std::uint32_t code = CodePoint(text.substr(0, size));
  const bool hidden = std::any_of(
      kHidden.begin(), kHidden.end(),
      [code](const CharacterRange& range) { return code >= range.first && code <= range.last; });
  if (hidden) {
    std::string shown = code > 0xffff ? Number('U', code, 8) : Number('u', code, 4);
    const std::size_t columns = shown.size();
    return {std::move(shown), size, columns};
  }
  return {std::string(text.substr(0, size)), size, code < kFirstWide ? 1U : 2U};
}

Shown ShowText(std::string_view text, std::size_t columns) {
  Shown all;
  while (all.size < text.size()) {
    const Shown one = ShowCharacter(text.substr(all.size));
    if (all.columns + one.columns > columns) {
      break;
    }
    all.text += one.text;
    all.size += one.size;
    all.columns += one.columns;
  }
  return all;
}

std::string EscapeUnquoted(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const Shown one = ShowCharacter(text);
    shown += text.front() == '"' || text.front() == '\'' ? std::string(1, text.front()) : one.text;
    text.remove_prefix(one.size);
  }
  return shown;
}

std::string Escape(std::string_view text) {
  return ShowText(text, std::numeric_limits<std::size_t>::max()).text;
}

Legibility LegibilityOf(std::string_view text) {
  Legibility all = Legibility::kText;
  while (!text.empty()) {
    const char first = text.front();
    const Shown one = ShowCharacter(text);
    if (first == '\n' || first == '\r' || first == '\t') {
      all = Legibility::kLines;
    } else if (one.text.front() == '\\' && first != '\\' && first != '"') {
      return Legibility::kNone;
    }
    text.remove_prefix(one.size);
  }
  return all;
}

}  // namespace qmsg
