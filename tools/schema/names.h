// Names of the elements that the schema files declare.
#pragma once

#include <google/protobuf/descriptor.h>

#include <string>
#include <variant>
#include <vector>

namespace qmsg {

using Element =
    std::variant<const google::protobuf::FileDescriptor*, const google::protobuf::Descriptor*,
                 const google::protobuf::EnumDescriptor*, const google::protobuf::FieldDescriptor*,
                 const google::protobuf::EnumValueDescriptor*,
                 const google::protobuf::OneofDescriptor*>;

// All named elements in the order of their declaration, followed by the messages of the runtime
// that fields or JSON use: Timestamp, Duration, Any.
const std::vector<Element>& SchemaElements();

// "quor.protobuf.Tarq.SqlQuery.flags"; "tarq.proto". Values are named under their enum:
// "quor.protobuf.QuorPHP.QVal.Type.NUL".
std::string FullName(const Element& element);

// "message", "enum", "field", "enum value", "oneof" or "file".
const char* Kind(const Element& element);

// The shortest unambiguous end of the full name; for fields, oneofs and values it includes the
// short name of their message or enum: "SqlQuery.flags", "Tarq.Error.severity".
std::string ShortName(const Element& element);

// The element of that name. Names are given in full, or by as much of their end as is unambiguous;
// values also without their enum, as C++ has them: "QVal.NUL"; fields also by their number:
// "SqlQuery.5"; messages also as a type URL. Case counts only between names that differ in nothing
// else. Throws Error with the nearest names.
Element FindElement(const std::string& name);

}  // namespace qmsg
