// Guesses what bytes are about which nothing is declared.
#pragma once

#include <string_view>

namespace qmsg {

enum class Looks { kMessage, kText, kBytes };

// Text that shows as it is, is text. Otherwise what can be read as a message is one, and text with
// line ends or tabs is text. Nothing at all is bytes.
Looks LooksLike(std::string_view bytes);

// "a message", "text", "bytes".
const char* Name(Looks looks);

}  // namespace qmsg
