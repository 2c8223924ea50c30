// All message types, for what reflection can do.
#pragma once

#include <google/protobuf/message.h>

#include <memory>
#include <string>
#include <vector>

namespace contract {

using google::protobuf::Arena;
using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::FileDescriptor;
using google::protobuf::Message;
using google::protobuf::OneofDescriptor;
using google::protobuf::Reflection;

// The default instance of each message class.
const std::vector<const Message*>& Prototypes();

std::vector<const FieldDescriptor*> Fields(const Message& message);

// Whether a message of the type, or one in it, has a map.
bool HoldsMap(const Descriptor& type);

std::unique_ptr<Message> NewOnHeap(const Message& prototype);

// What the message writes when asked to sort the pairs of its maps.
std::string DeterministicBytes(const Message& message);

}  // namespace contract
