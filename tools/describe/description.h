// The description of an element that the schema files declare.
#pragma once

#include <string>
#include <vector>

#include "schema/names.h"

namespace qmsg {

struct FieldFacts {
  std::string name;
  std::string full_name;
  int number;
  std::string type;         // "uint64", a full name, "map<int32, NAME>"
  const char* cardinality;  // "singular", "repeated" or "map"
  std::string tag;          // its bytes on the wire: "38", "82 01"
  const char* wire_type;    // "varint", "64-bit", "length-delimited" or "32-bit"
  bool explicit_presence;   // whether "not set" and the zero value differ
  std::string presence;     // the same in words
  std::string oneof;        // its name; empty if the field is in none
  std::string comment;
};

struct OneofFacts {
  std::string name;
  std::vector<std::string> members;
  std::string comment;
};

struct ValueFacts {
  std::string name;
  std::string full_name;
  int number;
  std::string comment;
};

struct EnumFacts {
  std::string full_name;
  std::vector<ValueFacts> values;
  std::string comment;
};

struct MessageFacts {
  std::string full_name;
  int field_count;
  std::string comment;
};

struct Description {
  std::string kind;    // as Kind() has it
  std::string name;    // in full
  std::string inside;  // the message or enum that declares it; empty if none does
  std::string file;
  std::string package;
  std::string comment;
  std::vector<MessageFacts> messages;  // of a file
  std::vector<FieldFacts> fields;      // of a message or oneof; the field itself
  std::vector<OneofFacts> oneofs;      // of a message; the oneof itself
  // Of a file or message; a field's type; the enum itself; of a value, with that one only.
  std::vector<EnumFacts> enums;
  std::vector<int> unused_numbers;   // of a message: below the highest that is used
  std::vector<std::string> used_by;  // of a message or enum: the fields of that type
};

Description Describe(const Element& element);

}  // namespace qmsg
