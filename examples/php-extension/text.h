#ifndef QMSG_EXAMPLES_PHP_EXTENSION_TEXT_H_
#define QMSG_EXAMPLES_PHP_EXTENSION_TEXT_H_

#include <string>
#include <string_view>

// The text as UTF-8. U+FFFD replaces invalid bytes.
std::string Utf8(std::string_view bytes);

#endif
