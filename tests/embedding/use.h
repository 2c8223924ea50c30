// What the tests do with the library wherever it is loaded.
#pragma once

#include <string>
#include <vector>

namespace embedding {

// Reads, writes and prints messages. Returns what was not as it should be; empty if all was.
std::string Use();

// The declarations of all messages, as text. Needs all reflection data.
std::string Declarations();

// Where in this process the reflection data of each message lies.
std::vector<const void*> ReflectionAddresses();

}  // namespace embedding
