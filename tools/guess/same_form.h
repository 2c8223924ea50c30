// Which types no bytes can tell apart.
#pragma once

#include <google/protobuf/descriptor.h>

namespace qmsg {

// Whether two types have the same wire form: each field of one is in the other under the same
// number, with the same type, repeated or not, in a oneof with the same others; fields that are
// messages need the same form, not the same type. Enums have it if they declare the same numbers.
bool HaveSameForm(const google::protobuf::Descriptor* a, const google::protobuf::Descriptor* b);

}  // namespace qmsg
