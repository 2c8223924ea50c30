// Makes text from messages safe to show on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qmsg {

// Text as it is shown, and the number of original bytes that it shows.
struct Shown {
  std::string text;
  std::size_t size = 0;
  std::size_t columns = 0;  // on a terminal; an upper bound
};

// Shows the first character. Printable characters are unchanged. Escaped with a backslash are:
// quotation marks and backslashes; control characters; characters that are invisible or change the
// direction of text; and each byte that is not valid UTF-8: "\n", "\x1b" for a byte, "\u202e" for a
// character. `text` must not be empty.
Shown ShowCharacter(std::string_view text);

// Shows as many whole characters as fit into that many columns.
Shown ShowText(std::string_view text, std::size_t columns);

// Shows all of it.
std::string Escape(std::string_view text);

// The same for text that does not stand between quotation marks: these are unchanged.
std::string EscapeUnquoted(std::string_view text);

// How readable a text is.
enum class Legibility {
  kText,   // UTF-8 of printable characters, quotation marks and backslashes included
  kLines,  // the same with line ends or tabs
  kNone,
};

Legibility LegibilityOf(std::string_view text);

}  // namespace qmsg
