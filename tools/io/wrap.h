// Wraps text for a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qmsg {

// Wraps each paragraph at 80 columns, indented by `indent` spaces; a longer word has a line of its
// own. Empty lines separate paragraphs; lines that begin with a space are kept. Ends with a new
// line unless `text` is empty. Counts each character as one column.
std::string Wrap(std::string_view text, std::size_t indent);

}  // namespace qmsg
