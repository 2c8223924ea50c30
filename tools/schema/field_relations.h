// Relations between fields that the comments of the schema define.
#pragma once

#include <google/protobuf/descriptor.h>

#include <vector>

namespace qmsg {

// A type tag: a field whose value says which member of the message's one oneof is set.
struct TypeTag {
  int field;                 // number of the tag
  std::vector<int> members;  // by the declared values of the tag: number of the member; 0: none
};

// The tag of messages of that type; null if they have none.
const TypeTag* TagOf(const google::protobuf::Descriptor* type);

// A field that declares how many bytes another one has.
struct LengthOf {
  int length;
  int content;
};

// That pair in messages of that type; null if they have none.
const LengthOf* LengthIn(const google::protobuf::Descriptor* type);

}  // namespace qmsg
