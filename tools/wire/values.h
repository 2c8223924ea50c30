// Formats the values of fields.
#pragma once

#include <google/protobuf/descriptor.h>

#include <string>
#include <string_view>

#include "wire/walk.h"

namespace qmsg {

// "varint", "64-bit", "len", "group", "end of group", "32-bit".
const char* Name(WireType type);

// The name of a field's type without its package: "int32", "SqlQuery", "QVal.Type".
std::string TypeName(const google::protobuf::FieldDescriptor* field);

// A varint or a number of fixed size by the type of its field: "-1", "PhpError (4)", "true". Of an
// unknown field, all possible meanings.
std::string NumberText(const Occurrence& at);

// A point in time or a duration: "2026-11-21T08:00:00Z", "1.500s". Empty for other types and for
// values out of range.
std::string TimeText(std::string_view bytes, const google::protobuf::Descriptor* type);

}  // namespace qmsg
