// What has to hold for any bytes whatever. Golden bytes say what a message means; here, code that
// was made in different ways has to agree on it.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "subject.h"

namespace fuzz {

// Says what does not agree, with both sides in hexadecimal.
class Disagreement : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads the bytes in every way there is, and does with the message what programs do with messages.
// Throws Disagreement. Logs nothing.
void Check(const Subject& subject, const std::string& bytes);

// What of a message comes back from its text: no unknown fields, and of NaN only that it is one.
std::string BytesInText(const Message& message);
// From its JSON neither does the sign of a zero. Nothing if there is a positive duration with
// negative nanoseconds, which the runtime prints as if they were not negative.
std::optional<std::string> BytesInJson(const Message& message);

// The parts of Check() that look at one message. `expected` is what has to come back.
void CheckText(const Message& message, const std::string& expected);
// A message that cannot be printed passes, such as one with a time beyond the year 9999.
void CheckJson(const Message& message, const std::optional<std::string>& expected);
void CheckSize(const Message& message, const std::string& expected);

}  // namespace fuzz
