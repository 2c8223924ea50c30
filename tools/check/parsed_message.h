// A message as a parser would merge it: a singular message that occurs twice is merged, and of
// other singular fields the last one counts. It keeps only what the conventions need: the elements
// of repeated fields are dropped as soon as they end.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qmsg {

struct ParsedMessage;

// The state of one field of a message.
struct FieldState {
  bool present = false;            // of a singular field
  std::size_t begin = 0;           // of its last tag, from the first byte of the outermost message
  std::uint64_t number = 0;        // of a field that is a number, as on the wire; absent: 0
  std::string_view text;           // of a field that is text or bytes
  std::size_t count = 0;           // of a repeated field: its elements so far
  ParsedMessage* child = nullptr;  // of a singular field that is a message
};

// The key of an element in its list.
struct Key {
  const google::protobuf::FieldDescriptor* field;
  std::uint64_t number;
  std::string_view text;
  std::size_t index;  // of the element
  std::size_t begin;  // of its tag
};

struct ParsedMessage {
  const google::protobuf::Descriptor* type = nullptr;
  const ParsedMessage* parent = nullptr;                     // null: the outermost message
  const google::protobuf::FieldDescriptor* field = nullptr;  // of the parent
  std::size_t index = 0;           // of the element if that field is repeated
  std::size_t begin = 0;           // of its first tag
  bool broken = false;             // not all of its fields could be read
  std::vector<FieldState> fields;  // by the index of the field
  std::vector<Key> keys;           // of the elements that have ended

  const FieldState& at(const google::protobuf::FieldDescriptor* member) const {
    return fields[static_cast<std::size_t>(member->index())];
  }
  FieldState& at(const google::protobuf::FieldDescriptor* member) {
    return fields[static_cast<std::size_t>(member->index())];
  }
};

// "queries[3].duration"; with a field of it "queries[3].duration.nanos".
std::string PathTo(const ParsedMessage& message);
std::string PathTo(const ParsedMessage& message, const google::protobuf::FieldDescriptor* field);

// Reuses the memory of parsed messages.
class ParsedMessagePool {
 public:
  ParsedMessage* New(const google::protobuf::Descriptor* type);
  // Takes back the message and all below it.
  void Return(ParsedMessage* message);

 private:
  std::vector<std::unique_ptr<ParsedMessage>> messages_;
  std::vector<ParsedMessage*> free_;
};

}  // namespace qmsg
