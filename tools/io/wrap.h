// Text for a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qmsg {

// Fills the lines of each paragraph up to 80 columns behind `indent` spaces; a word that is longer
// stands alone. Empty lines part paragraphs; lines that begin with a space stay as they are. Ends
// with a new line unless `text` is empty. Takes each character for one column.
std::string Wrap(std::string_view text, std::size_t indent);

}  // namespace qmsg
