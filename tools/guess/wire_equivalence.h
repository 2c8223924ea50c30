// Types that no bytes can tell apart.
#pragma once

#include <google/protobuf/descriptor.h>

namespace qmsg {

// Whether two types have the same wire format: each field of one is in the other with the same
// number, type and cardinality, in a oneof with the same other numbers. Types of message fields
// need only be equivalent in turn; enums are if they declare the same numbers.
bool AreWireEquivalent(const google::protobuf::Descriptor* a,
                       const google::protobuf::Descriptor* b);

}  // namespace qmsg
