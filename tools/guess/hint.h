// What bytes are that make a bad message.
#pragma once

#include <string>
#include <string_view>

namespace qmsg {

// Says that the bytes read well as a stream of messages, or are hexadecimal digits, and which
// option reads them as that. Empty if they are neither.
std::string Hint(std::string_view bytes);

}  // namespace qmsg
