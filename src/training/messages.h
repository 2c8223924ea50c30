// Messages as they are sent: to train a build on what it will do.
#pragma once

#include <google/protobuf/message.h>

#include <cstddef>
#include <string>
#include <vector>

namespace training {

using google::protobuf::Descriptor;

// The message types of all schema files.
std::vector<const Descriptor*> Types();

// The bytes of `count` messages of the type, the same each time. None of the type's own code makes
// them.
//
// Texts are mostly ASCII of 5 to 120 bytes; some are of other alphabets, empty or long. A list
// has 5 to 50 elements, one inside a list up to 6. Most fields are set.
std::vector<std::string> Messages(const Descriptor& type, std::size_t count);

}  // namespace training
