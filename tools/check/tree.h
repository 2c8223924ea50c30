// A message as a parser would have it: where a message stands twice, both halves as one, and of
// other singular fields the last. It holds no more than what conventions are judged by: an element
// of a repeated field leaves it as soon as it ends.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qmsg {

struct Node;

// What a message has of one of its fields.
struct Slot {
  bool present = false;      // of a singular field
  std::size_t begin = 0;     // of its last tag, from the first byte of the outermost message
  std::uint64_t number = 0;  // of a field that is a number, as on the wire; absent: 0
  std::string_view text;     // of a field that is text or bytes
  std::size_t count = 0;     // of a repeated field: its elements so far
  Node* child = nullptr;     // of a singular field that is a message
};

// What an element of a list is known by there.
struct Key {
  const google::protobuf::FieldDescriptor* field;
  std::uint64_t number;
  std::string_view text;
  std::size_t index;  // of the element
  std::size_t begin;  // of its tag
};

struct Node {
  const google::protobuf::Descriptor* type = nullptr;
  const Node* parent = nullptr;                              // null: the outermost message
  const google::protobuf::FieldDescriptor* field = nullptr;  // of the parent
  std::size_t index = 0;    // where that field is repeated: which element
  std::size_t begin = 0;    // of its first tag
  bool broken = false;      // not all of its fields could be read
  std::vector<Slot> slots;  // by the index of the field
  std::vector<Key> keys;    // of the elements that have left

  const Slot& at(const google::protobuf::FieldDescriptor* member) const {
    return slots[static_cast<std::size_t>(member->index())];
  }
  Slot& at(const google::protobuf::FieldDescriptor* member) {
    return slots[static_cast<std::size_t>(member->index())];
  }
};

// "queries[3].duration"; with a field of it "queries[3].duration.nanos".
std::string PathTo(const Node& node);
std::string PathTo(const Node& node, const google::protobuf::FieldDescriptor* field);

// Nodes, whose memory is used again.
class NodePool {
 public:
  Node* New(const google::protobuf::Descriptor* type);
  // Takes back the node and all below it.
  void Return(Node* node);

 private:
  std::vector<std::unique_ptr<Node>> nodes_;
  std::vector<Node*> free_;
};

}  // namespace qmsg
