// A message type to fuzz: its generated class, and the dynamic message it is compared with.
#pragma once

#include <string>

#include "dynamic_types.h"
#include "support/message_class.h"

namespace fuzz {

using contract::Message;
using contract::MessageClass;

struct TypeUnderTest {
  // A copy, which a test may replace members of.
  MessageClass generated;
  const Message* dynamic;
};

// The type of that full name, such as quor.protobuf.JQ.Job. Throws std::runtime_error if there is
// none.
TypeUnderTest FindType(const std::string& full_name, DynamicTypes& dynamic_types);

}  // namespace fuzz
