// Guesses the content of an undeclared length-delimited field.
#pragma once

#include <string_view>

namespace qmsg {

enum class ContentKind { kMessage, kText, kBytes };

// In this order: printable text is text; bytes that parse as a message are a message; text with
// line ends or tabs is text; all others, and no bytes at all, are bytes.
ContentKind GuessContentKind(std::string_view bytes);

// "a message", "text", "bytes".
const char* Name(ContentKind kind);

}  // namespace qmsg
