#include "type_under_test.h"

#include <stdexcept>

namespace fuzz {

TypeUnderTest FindType(const std::string& full_name, DynamicTypes& dynamic_types) {
  for (const MessageClass& generated : contract::MessageClasses()) {
    const google::protobuf::Descriptor& descriptor = *generated.descriptor();
    if (descriptor.full_name() == full_name) {
      return {generated, &dynamic_types.Prototype(descriptor)};
    }
  }
  throw std::runtime_error("No message type is called '" + full_name + "'");
}

}  // namespace fuzz
