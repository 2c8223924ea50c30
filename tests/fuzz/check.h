// Properties that hold for any bytes. The golden bytes say what a message means. Here, independent
// implementations have to agree on it.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "type_under_test.h"

namespace fuzz {

// The message shows both sides in hexadecimal.
class Disagreement : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads the bytes in every way the runtime offers, and uses the message as programs do.
// Throws Disagreement. Logs nothing.
void Check(const TypeUnderTest& type, const std::string& bytes);

// The bytes of a message after a round trip through its text: without unknown fields, and with each
// NaN replaced by the default one.
std::string BytesInText(const Message& message);
// The same through its JSON, which also loses the sign of a zero. Empty if there is a positive
// duration with negative nanoseconds, which the runtime prints as positive.
std::optional<std::string> BytesInJson(const Message& message);

// The parts of Check() that look at one message. `expected` are the bytes after the round trip.
void CheckText(const Message& message, const std::string& expected);
// A message that cannot be printed passes, such as one with a time beyond the year 9999.
void CheckJson(const Message& message, const std::optional<std::string>& expected);
void CheckSize(const Message& message, const std::string& expected);

}  // namespace fuzz
