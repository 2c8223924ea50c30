#ifndef QMSG_EXAMPLES_PHP_EXTENSION_TEXT_H_
#define QMSG_EXAMPLES_PHP_EXTENSION_TEXT_H_

#include <string>
#include <string_view>

// The text as UTF-8: what is no part of a character becomes U+FFFD.
std::string Utf8(std::string_view bytes);

#endif
