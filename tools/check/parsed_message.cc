#include "check/parsed_message.h"

namespace qmsg {

std::string PathTo(const ParsedMessage& message) {
  if (message.parent == nullptr) {
    return {};
  }
  std::string path = PathTo(*message.parent, message.field);
  if (message.field->is_repeated()) {
    path += '[' + std::to_string(message.index) + ']';
  }
  return path;
}

std::string PathTo(const ParsedMessage& message, const google::protobuf::FieldDescriptor* field) {
  const std::string path = PathTo(message);
  return path.empty() ? field->name() : path + '.' + field->name();
}

ParsedMessage* ParsedMessagePool::New(const google::protobuf::Descriptor* type) {
  if (free_.empty()) {
    messages_.push_back(std::make_unique<ParsedMessage>());
    free_.push_back(messages_.back().get());
  }
  ParsedMessage* message = free_.back();
  free_.pop_back();
  message->type = type;
  message->parent = nullptr;
  message->field = nullptr;
  message->index = 0;
  message->begin = 0;
  message->broken = false;
  message->fields.assign(static_cast<std::size_t>(type->field_count()), FieldState{});
  message->keys.clear();
  return message;
}

void ParsedMessagePool::Return(ParsedMessage* message) {
  for (const FieldState& state : message->fields) {
    if (state.child != nullptr) {
      Return(state.child);
    }
  }
  free_.push_back(message);
}

}  // namespace qmsg
