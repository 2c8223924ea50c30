#pragma once

#include <php.h>

#include <string_view>

namespace qmsg::php {

inline std::string_view View(const zend_string* text) { return {ZSTR_VAL(text), ZSTR_LEN(text)}; }

}  // namespace qmsg::php
