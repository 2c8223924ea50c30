// Where in the array of the script the encoder is.
#pragma once

#include <php.h>

#include <string>

namespace qmsg::php {

// A step from the array around it: its key, or its index in a list.
struct Place {
  const Place* outer;      // null: the array of the script, which has no key
  const zend_string* key;  // null: a list's element, or a map's
  zend_long index;

  Place Key(const zend_string* name) const { return {this, name, 0}; }
  Place Element(zend_long number) const { return {this, nullptr, number}; }

  // "queries[3].duration"; empty for the outermost.
  std::string ToString() const;
};

// Throw Failure at this place: "queries[3].duration: ...".
[[noreturn]] void Refuse(const Place& place, const std::string& reason);
// "...: a string such as "1.5s" is expected, not int"
[[noreturn]] void RefuseValue(const Place& place, const char* expected, const zval* value);

}  // namespace qmsg::php
