// Makes PHP arrays from the wire format.
#pragma once

#include <php.h>

#include <string_view>

#include "codec/tables.h"

namespace qmsg::php {

// A time is an array of its fields as the outermost message, and a text in a field.
enum class Form { kOutermost, kField };

// Whether the memory limit is exhausted. Most engines leave a call by a jump then. Those that only
// note it expect the call to return soon, and end the process if it takes much more memory.
inline bool IsMemoryExhausted() {
#ifdef ZEND_HAS_OOM
  return ZEND_HAS_OOM();
#else
  return false;
#endif
}

// Decodes bytes as a writer writes them: fields by ascending numbers, where undeclared ones are
// skipped. Returns false for all others, good or bad, and where memory is exhausted; what it has
// made until then is in `out`. The engine may leave it by a jump at each allocation: it owns
// nothing else.
bool DecodeCanonical(const MessageTable& table, Form form, std::string_view bytes, zval* out);

}  // namespace qmsg::php
