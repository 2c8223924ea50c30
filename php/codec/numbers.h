// Numbers of scripts: ints, floats without a fraction, and decimal strings.
#pragma once

#include <php.h>

#include <cstdint>

#include "codec/place.h"

namespace qmsg::php {

// Throw Failure for other values and for numbers out of range.
std::int32_t Int32(const zval* value, const Place& place);
std::uint32_t Uint32(const zval* value, const Place& place);
std::int64_t Int64(const zval* value, const Place& place);
std::uint64_t Uint64(const zval* value, const Place& place);

// Also "NaN", "Infinity" and "-Infinity", and strings as JSON writes numbers.
double Double(const zval* value, const Place& place);

}  // namespace qmsg::php
