// Makes text from messages safe to show on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qmsg {

// Text as it is shown, and how many bytes of the original stand for it.
struct Shown {
  std::string text;
  std::size_t size = 0;
  std::size_t columns = 0;  // on a terminal; never less than it takes
};

// Shows the first character. Printable ones stay. Written with a backslash are: quotation marks and
// backslashes; controls; what is invisible or changes the direction of text; and each byte that is
// no UTF-8: "\n", "\x1b" for a byte, "\u202e" for a character. `text` must not be empty.
Shown ShowCharacter(std::string_view text);

// Shows as many whole characters as go into that many columns.
Shown ShowText(std::string_view text, std::size_t columns);

// Shows all of it.
std::string Escape(std::string_view text);

// How much of text is made for people.
enum class Legibility {
  kText,   // UTF-8 that shows as it is, quotation marks and backslashes included
  kLines,  // that, with line ends or tabs
  kNone,
};

Legibility LegibilityOf(std::string_view text);

}  // namespace qmsg
