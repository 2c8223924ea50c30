// What is fuzzed: a message class, and what it is compared with.
#pragma once

#include <google/protobuf/message.h>

#include <memory>
#include <string>

#include "dynamic_types.h"

namespace fuzz {

using google::protobuf::Message;

// The members that a generated class has for its own type. Through the base class and by
// reflection, other code runs.
struct Operations {
  std::unique_ptr<Message> (*construct)(const Message& from);
  void (*copy)(Message& to, const Message& from);
  void (*merge)(Message& to, const Message& from);
  void (*move)(Message& to, Message& from);
  void (*swap)(Message& a, Message& b);
};

struct Subject {
  const Message* compiled;
  const Message* dynamic;
  Operations operations;
};

// The type of the given full name, such as quor.protobuf.JQ.Job. Throws std::runtime_error if there
// is none.
Subject FindSubject(const std::string& full_name, DynamicTypes& dynamic_types);

}  // namespace fuzz
