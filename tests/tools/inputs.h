// Messages of all types, whole and damaged, for what has to hold for any bytes.
#pragma once

#include <functional>
#include <string>

#include "support/prototypes.h"

namespace tools_test {

using contract::Message;
using Visit = std::function<void(const Message& prototype, const std::string& bytes)>;

// The same inputs on every run. None of them comes from code of the tool.
void ForEachInput(const Visit& visit);

}  // namespace tools_test
