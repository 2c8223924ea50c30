// Bytes that DecodeCanonical does not take: what is wrong with them, or the same message as a
// writer writes it. No function here calls the engine.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "codec/tables.h"

namespace qmsg::php {

// The message, with its fields in order, repetitions merged and undeclared fields dropped. Throws
// Failure with the first fault; `base` is the offset of the bytes in those of the script.
std::string Canonical(const MessageTable& table, std::string_view bytes, std::int64_t base);

// The content of a google.protobuf.Any.
struct AnyContent {
  std::string_view url;
  std::string_view value;
  std::int64_t offset;        // of the value
  const MessageTable* table;  // null: the Any is empty
};

// Throws Failure if the bytes are no Any, or if its type is not in the schema.
AnyContent ContentOfAny(std::string_view bytes, std::int64_t base);

}  // namespace qmsg::php
