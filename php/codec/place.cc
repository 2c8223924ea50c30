#include "codec/place.h"

#include <array>
#include <charconv>
#include <string_view>

#include "check/findings.h"
#include "codec/failure.h"
#include "codec/view.h"
#include "io/escape.h"

namespace qmsg::php {
namespace {

std::string Described(const zval* value) {
  switch (Z_TYPE_P(value)) {
    case IS_STRING:
      return "the string " + Quoted(View(Z_STR_P(value)));
    case IS_TRUE:
      return "true";
    case IS_FALSE:
      return "false";
    case IS_LONG:
      return std::to_string(Z_LVAL_P(value));
    case IS_DOUBLE: {
      std::array<char, 32> number{};
      const char* const end =
          std::to_chars(number.data(), number.data() + number.size(), Z_DVAL_P(value)).ptr;
      return {number.data(), static_cast<std::size_t>(end - number.data())};
    }
    case IS_OBJECT:
      return "an object of " + Escape(View(Z_OBJCE_P(value)->name));
    default:
      return zend_zval_type_name(value);
  }
}

// Keys of the script may hold any bytes of any number.
std::string Shown(const zend_string* key) {
  constexpr std::size_t kMostColumns = 60;
  const std::string_view text = View(key);
  const qmsg::Shown shown = ShowText(text, kMostColumns);
  return shown.text + (shown.size < text.size() ? "..." : "");
}

}  // namespace

std::string Place::ToString() const {
  if (outer == nullptr) {
    return {};
  }
  std::string path = outer->ToString();
  if (key == nullptr) {
    return path + '[' + std::to_string(index) + ']';
  }
  return path + (path.empty() ? "" : ".") + Shown(key);
}

void Refuse(const Place& place, const std::string& reason) {
  const std::string path = place.ToString();
  throw Failure{path + (path.empty() ? "" : ": ") + reason, path, -1};
}

void RefuseValue(const Place& place, const char* expected, const zval* value) {
  Refuse(place, std::string(expected) + " is expected, not " + Described(value));
}

}  // namespace qmsg::php
