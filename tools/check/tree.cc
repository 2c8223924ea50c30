#include "check/tree.h"

namespace qmsg {

std::string PathTo(const Node& node) {
  if (node.parent == nullptr) {
    return {};
  }
  std::string path = PathTo(*node.parent, node.field);
  if (node.field->is_repeated()) {
    path += '[' + std::to_string(node.index) + ']';
  }
  return path;
}

std::string PathTo(const Node& node, const google::protobuf::FieldDescriptor* field) {
  const std::string path = PathTo(node);
  return path.empty() ? field->name() : path + '.' + field->name();
}

Node* NodePool::New(const google::protobuf::Descriptor* type) {
  if (free_.empty()) {
    nodes_.push_back(std::make_unique<Node>());
    free_.push_back(nodes_.back().get());
  }
  Node* node = free_.back();
  free_.pop_back();
  node->type = type;
  node->parent = nullptr;
  node->field = nullptr;
  node->index = 0;
  node->begin = 0;
  node->broken = false;
  node->slots.assign(static_cast<std::size_t>(type->field_count()), Slot{});
  node->keys.clear();
  return node;
}

void NodePool::Return(Node* node) {
  for (const Slot& slot : node->slots) {
    if (slot.child != nullptr) {
      Return(slot.child);
    }
  }
  free_.push_back(node);
}

}  // namespace qmsg
