// Each message class by the members it has for its own type. Calls through the base class or by
// reflection run other code.
#pragma once

#include <google/protobuf/message.h>

#include <memory>
#include <string>
#include <vector>

namespace contract {

using google::protobuf::Arena;
using google::protobuf::Descriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

// Where a function takes two messages, both have to be of the class.
struct MessageClass {
  struct Data {
    void (*copy_to_from)(Message& to, const Message& from);
    void (*merge_to_from)(Message& to, const Message& from);
  };

  const Message* default_instance;
  const Message* internal_default_instance;
  const Descriptor* (*descriptor)();
  const Descriptor* (*get_descriptor)();
  const Reflection* (*get_reflection)();
  int index_in_file;
  Data class_data;                              // the static member
  Data (*get_class_data)(const Message& from);  // the virtual function

  std::unique_ptr<Message> (*construct)();
  std::unique_ptr<Message> (*copy_construct)(const Message& from);
  std::unique_ptr<Message> (*move_construct)(Message& from);
  Message* (*create_on_arena)(Arena& arena);
  void (*copy_assign)(Message& to, const Message& from);
  void (*move_assign)(Message& to, Message& from);
  void (*copy_from)(Message& to, const Message& from);
  void (*merge_from)(Message& to, const Message& from);
  void (*swap)(Message& a, Message& b);           // the member
  void (*swap_function)(Message& a, Message& b);  // the friend
  void (*unsafe_arena_swap)(Message& a, Message& b);
};

// In the order of declaration, file by file. Asks for no descriptor.
const std::vector<MessageClass>& MessageClasses();

}  // namespace contract
