#pragma once

// PHP's headers for C++, and what every file of the recorder needs of the engine.

#include <SAPI.h>
#include <php.h>

#include <string_view>

#ifdef ZTS
#error "php-qmsg is for PHP without thread safety, as Debian builds it: one request at a time."
#endif

inline std::string_view View(const zend_string* text) {
  return text == nullptr ? std::string_view() : std::string_view(ZSTR_VAL(text), ZSTR_LEN(text));
}

inline std::string_view View(const char* text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}
