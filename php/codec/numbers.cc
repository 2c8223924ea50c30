#include "codec/numbers.h"

#include <zend_strtod.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

#include "codec/view.h"

namespace qmsg::php {
namespace {

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

// `expected` names the range.
template <typename Number>
Number Integer(const zval* value, const Place& place, const char* expected) {
  using Limits = std::numeric_limits<Number>;
  switch (Z_TYPE_P(value)) {
    case IS_LONG: {
      const zend_long number = Z_LVAL_P(value);
      const bool is_low =
          std::is_signed_v<Number> ? number < static_cast<zend_long>(Limits::min()) : number < 0;
      const bool is_high = number > 0 && static_cast<std::uint64_t>(number) >
                                             static_cast<std::uint64_t>(Limits::max());
      if (!is_low && !is_high) {
        return static_cast<Number>(number);
      }
      break;
    }
    case IS_DOUBLE: {
      // A power of two, which a double has exactly.
      const double end = std::ldexp(1.0, Limits::digits);
      const double number = Z_DVAL_P(value);
      if (number >= (std::is_signed_v<Number> ? -end : 0.0) && number < end &&
          number == std::floor(number)) {
        return static_cast<Number>(number);
      }
      break;
    }
    case IS_STRING: {
      Number number = 0;
      const char* begin = Z_STRVAL_P(value);
      const char* end = begin + Z_STRLEN_P(value);
      const auto [after, error] = std::from_chars(begin, end, number);
      if (after == end && error == std::errc()) {
        return number;
      }
      break;
    }
    default:
      break;
  }
  RefuseValue(place, expected, value);
}

// Whether the text is a number of JSON.
bool IsNumber(std::string_view text) {
  const auto skip_digits = [&text] {
    const std::size_t before = text.size();
    while (!text.empty() && IsDigit(text.front())) {
      text.remove_prefix(1);
    }
    return text.size() < before;
  };
  const auto skip = [&text](std::string_view any_of) {
    const bool found = !text.empty() && any_of.find(text.front()) != std::string_view::npos;
    text.remove_prefix(found ? 1 : 0);
    return found;
  };
  skip("-");
  if (!skip_digits() || (skip(".") && !skip_digits())) {
    return false;
  }
  if (skip("eE")) {
    skip("+-");
    return skip_digits() && text.empty();
  }
  return text.empty();
}

}  // namespace

std::int32_t Int32(const zval* value, const Place& place) {
  return Integer<std::int32_t>(value, place, "an integer from -2147483648 to 2147483647");
}

std::uint32_t Uint32(const zval* value, const Place& place) {
  return Integer<std::uint32_t>(value, place, "an integer from 0 to 4294967295");
}

std::int64_t Int64(const zval* value, const Place& place) {
  return Integer<std::int64_t>(value, place,
                               "an integer from -9223372036854775808 to 9223372036854775807");
}

std::uint64_t Uint64(const zval* value, const Place& place) {
  return Integer<std::uint64_t>(value, place, "an integer from 0 to 18446744073709551615");
}

double Double(const zval* value, const Place& place) {
  if (Z_TYPE_P(value) == IS_DOUBLE) {
    return Z_DVAL_P(value);
  }
  if (Z_TYPE_P(value) == IS_LONG) {
    return static_cast<double>(Z_LVAL_P(value));
  }
  if (Z_TYPE_P(value) == IS_STRING) {
    const std::string_view text = View(Z_STR_P(value));
    if (text == "NaN") {
      return std::numeric_limits<double>::quiet_NaN();
    }
    if (text == "Infinity" || text == "-Infinity") {
      return (text.front() == '-' ? -1 : 1) * std::numeric_limits<double>::infinity();
    }
    const double number = IsNumber(text) ? zend_strtod(text.data(), nullptr) : NAN;
    if (std::isfinite(number)) {
      return number;
    }
  }
  RefuseValue(place, "a number", value);
}

}  // namespace qmsg::php
