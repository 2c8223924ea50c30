#include "prototypes.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <stdexcept>

#include "message_class.h"

namespace contract {

const std::vector<const Message*>& Prototypes() {
  static const std::vector<const Message*> prototypes = [] {
    std::vector<const Message*> all;
    for (const MessageClass& each : MessageClasses()) {
      all.push_back(each.default_instance);
    }
    return all;
  }();
  return prototypes;
}

std::vector<const FieldDescriptor*> Fields(const Message& message) {
  std::vector<const FieldDescriptor*> fields;
  fields.reserve(static_cast<std::size_t>(message.GetDescriptor()->field_count()));
  for (int i = 0; i < message.GetDescriptor()->field_count(); ++i) {
    fields.push_back(message.GetDescriptor()->field(i));
  }
  return fields;
}

// It comes to an end: no message type contains itself.
bool HoldsMap(const Descriptor& type) {
  for (int i = 0; i < type.field_count(); ++i) {
    const FieldDescriptor* field = type.field(i);
    if (field->is_map() || (field->message_type() != nullptr && HoldsMap(*field->message_type()))) {
      return true;
    }
  }
  return false;
}

std::unique_ptr<Message> NewOnHeap(const Message& prototype) {
  return std::unique_ptr<Message>(prototype.New());
}

std::string DeterministicBytes(const Message& message) {
  std::string bytes;
  google::protobuf::io::StringOutputStream stream(&bytes);
  google::protobuf::io::CodedOutputStream output(&stream);
  output.SetSerializationDeterministic(true);
  if (!message.SerializeToCodedStream(&output)) {
    throw std::runtime_error("Cannot write " + message.GetTypeName());
  }
  output.Trim();
  return bytes;
}

}  // namespace contract
