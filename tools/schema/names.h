// Names for what the schema files declare.
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

// All that has a name, in the order of its declaration; at the end the messages of the runtime that
// have fields of their own here, or that JSON can name: Timestamp, Duration, Any.
const std::vector<Element>& SchemaElements();

// "quor.protobuf.Tarq.SqlQuery.flags"; "tarq.proto". Values stand under their enum:
// "quor.protobuf.QuorPHP.QVal.Type.NUL".
std::string FullName(const Element& element);

// "message", "enum", "field", "enum value", "oneof" or "file".
const char* Kind(const Element& element);

// The shortest end of the full name that means nothing else; of fields, oneofs and values behind
// the short name of what they are in: "SqlQuery.flags", "Tarq.Error.severity".
std::string ShortName(const Element& element);

// The element of that name. Names are given in full, or by as much of their end as is unambiguous;
// values also without their enum, as C++ has them: "QVal.NUL". Throws Error that lists what comes
// nearest.
Element FindElement(const std::string& name);

}  // namespace qmsg
