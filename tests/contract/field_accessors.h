// The generated accessors of each field, behind functions that take any message. The message has to
// be of the field's class.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/repeated_field.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/prototypes.h"

namespace contract {

struct ScalarField {
  const Message& prototype;
  const FieldDescriptor* field;
  bool has_presence;  // whether there is a has_...()
  void (*set)(Message& message, std::int64_t value);
  std::int64_t (*get)(const Message& message);
  void (*clear)(Message& message);
};

struct StringField {
  const Message& prototype;
  const FieldDescriptor* field;
  bool has_presence;
  void (*set)(Message& message, const std::string& text);
  void (*set_moved)(Message& message, std::string&& text);
  void (*set_c_string)(Message& message, const char* text);
  void (*set_length)(Message& message, const char* text, std::size_t length);
  const std::string& (*get)(const Message& message);
  std::string* (*mutate)(Message& message);
  std::string* (*release)(Message& message);
  void (*set_allocated)(Message& message, std::string* text);
  void (*clear)(Message& message);
};

struct MessageField {
  const Message& prototype;
  const FieldDescriptor* field;
  const Message& value;  // the default instance of the field's own class
  bool (*has)(const Message& message);
  const Message& (*get)(const Message& message);
  Message* (*mutate)(Message& message);
  Message* (*release)(Message& message);
  void (*set_allocated)(Message& message, Message* value);
  Message* (*unsafe_arena_release)(Message& message);
  void (*unsafe_arena_set_allocated)(Message& message, Message* value);
  void (*clear)(Message& message);
};

struct RepeatedStringField {
  const Message& prototype;
  const FieldDescriptor* field;
  int (*size)(const Message& message);
  const std::string& (*get)(const Message& message, int index);
  std::string* (*mutate)(Message& message, int index);
  void (*set)(Message& message, int index, const std::string& text);
  void (*set_moved)(Message& message, int index, std::string&& text);
  void (*set_c_string)(Message& message, int index, const char* text);
  void (*set_length)(Message& message, int index, const char* text, std::size_t length);
  std::string* (*add)(Message& message);
  void (*add_copy)(Message& message, const std::string& text);
  void (*add_moved)(Message& message, std::string&& text);
  void (*add_c_string)(Message& message, const char* text);
  void (*add_length)(Message& message, const char* text, std::size_t length);
  const google::protobuf::RepeatedPtrField<std::string>& (*get_all)(const Message& message);
  google::protobuf::RepeatedPtrField<std::string>* (*mutate_all)(Message& message);
  void (*clear)(Message& message);
};

struct RepeatedMessageField {
  const Message& prototype;
  const FieldDescriptor* field;
  int (*size)(const Message& message);
  const Message& (*get)(const Message& message, int index);
  Message* (*mutate)(Message& message, int index);
  Message* (*add)(Message& message);
  // An element through the list, and the address of the list.
  const Message& (*get_of_all)(const Message& message, int index);
  const void* (*all)(const Message& message);
  const void* (*mutate_all)(Message& message);
  void (*clear)(Message& message);
};

// A field of a oneof, with the accessors of the oneof.
struct OneofMember {
  const Message& prototype;
  const FieldDescriptor* field;
  int case_number;                // the constant
  void (*set)(Message& message);  // to something else than the default
  bool (*has)(const Message& message);
  // Absent texts and messages have to be the very object that the default instance has.
  bool (*reads_as_default)(const Message& message);
  void (*clear)(Message& message);
  int (*get_case)(const Message& message);
  void (*clear_oneof)(Message& message);
};

// Oneof members are among the first three too. A map is in none of them.
const std::vector<ScalarField>& ScalarFields();
const std::vector<StringField>& StringFields();
const std::vector<MessageField>& MessageFields();
const std::vector<RepeatedStringField>& RepeatedStringFields();
const std::vector<RepeatedMessageField>& RepeatedMessageFields();
const std::vector<OneofMember>& OneofMembers();

// Calls check(field) for each of the fields.
template <class Field, class Check>
void ForEach(const std::vector<Field>& fields, const Check& check) {
  for (const Field& field : fields) {
    SCOPED_TRACE(field.field->full_name());
    check(field);
  }
}

}  // namespace contract
