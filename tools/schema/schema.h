// The messages that the library declares.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qmsg {

// The schema files, each after those that it imports.
std::vector<const google::protobuf::FileDescriptor*> SchemaFiles();

// All messages of the schema files in the order of their declaration, without the entries of maps.
std::vector<const google::protobuf::Descriptor*> SchemaMessages();

// The message of that name: one of the schema files, or a Timestamp, a Duration or an Any of the
// runtime. Names are given in full, or by as much of their end as is unambiguous: "SqlQuery",
// "Tarq.Error". Throws Error that lists what comes nearest.
const google::protobuf::Descriptor* FindMessage(const std::string& name);

// The message that the URL in a google.protobuf.Any names: its full name after the last slash. Null
// if FindMessage does not find it, even if the runtime has it.
const google::protobuf::Descriptor* TypeOf(std::string_view url);

// Whether a text has the form of such a URL, as a newer sender's has: "type.googleapis.com/a.B".
bool IsTypeUrl(std::string_view text);

// An empty message of that type.
std::unique_ptr<google::protobuf::Message> NewMessage(const google::protobuf::Descriptor* type);

}  // namespace qmsg
