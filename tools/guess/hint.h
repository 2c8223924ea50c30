// Suggests how else to read bytes that are not a good message.
#pragma once

#include <string>
#include <string_view>

namespace qmsg {

// Says that the bytes look like a stream of messages or like hexadecimal digits, and which option
// reads them so. Empty if they do not.
std::string Hint(std::string_view bytes);

}  // namespace qmsg
