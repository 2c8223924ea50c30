#include "text.h"

#include <php.h>

#include <cstddef>

extern "C" {
#include <ext/standard/html.h>
}

std::string Utf8(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  std::size_t next = 0;
  while (next < bytes.size()) {
    const std::size_t begin = next;
    zend_result status = SUCCESS;
    php_next_utf8_char(data, bytes.size(), &next, &status);
    text += status == SUCCESS ? bytes.substr(begin, next - begin) : "\xEF\xBF\xBD";
  }
  return text;
}
