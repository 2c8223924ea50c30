// What the codec knows of the schema, made once from the descriptors: for each message its fields
// in the order of the wire format, with their keys in PHP arrays as interned strings.
#pragma once

#include <google/protobuf/descriptor.h>
#include <php.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qmsg::php {

inline constexpr std::size_t kMostFields = 32;  // of a message

enum class Kind : std::uint8_t {
  kBool,
  kInt32,
  kUint32,
  kInt64,
  kUint64,
  kDouble,
  kString,
  kEnum,
  kTimestamp,
  kDuration,
  kMessage,
  kMap,  // from int32 to messages
};

struct EnumTable {
  const google::protobuf::EnumDescriptor* type = nullptr;
  std::vector<zend_string*> names;  // by their numbers, from 0 without a gap
};

struct MessageTable;

struct Field {
  Kind kind;
  bool is_repeated;     // only of texts and messages
  bool has_presence;    // written even if it has its default
  std::uint32_t tag;    // on the wire
  std::uint32_t oneof;  // a bit for each oneof of the message; 0: in none
  zend_string* key;     // lowerCamelCase
  const google::protobuf::FieldDescriptor* descriptor;
  const EnumTable* enumeration;  // of kEnum
  const MessageTable* message;   // of kMessage, and of the values of kMap

  std::uint32_t number() const { return tag >> 3U; }
};

struct MessageTable {
  const google::protobuf::Descriptor* type = nullptr;
  bool is_any = false;         // has no fields here: the codec handles it
  Kind kind = Kind::kMessage;  // as a field: kTimestamp and kDuration have a form of their own
  std::vector<Field> fields;   // by ascending numbers
  std::vector<const Field*> by_number;
  std::unordered_map<std::string_view, const Field*> by_name;  // in both spellings

  const Field* Find(std::uint32_t number) const {
    return number < by_number.size() ? by_number[number] : nullptr;
  }
};

class Tables {
 public:
  // Only while a module starts: interned strings that outlive a request are made then. Throws
  // std::logic_error if the schema has what the codec cannot handle.
  Tables();

  // As FindMessage in schema/schema.h, which throws the error for any other name.
  const MessageTable* Find(std::string_view name) const;
  // The message of a type URL; null if there is none.
  const MessageTable* OfUrl(std::string_view url) const;

  zend_string* type_key() const { return type_key_; }        // "@type"
  zend_string* value_key() const { return value_key_; }      // "value"
  zend_string* seconds_key() const { return seconds_key_; }  // "seconds"
  zend_string* nanos_key() const { return nanos_key_; }      // "nanos"

 private:
  const MessageTable* Add(const google::protobuf::Descriptor* type);
  const EnumTable* Add(const google::protobuf::EnumDescriptor* type);
  Field MakeField(const google::protobuf::FieldDescriptor* descriptor);
  void AddNames(const MessageTable* table);

  std::unordered_map<const google::protobuf::Descriptor*, std::unique_ptr<MessageTable>> messages_;
  std::unordered_map<const google::protobuf::EnumDescriptor*, std::unique_ptr<EnumTable>> enums_;
  // Full names and all their ends; null: ambiguous.
  std::unordered_map<std::string_view, const MessageTable*> by_name_;
  zend_string* type_key_;
  zend_string* value_key_;
  zend_string* seconds_key_;
  zend_string* nanos_key_;
};

// Those of the module: set from StartCodec to StopCodec.
extern const Tables* tables;

}  // namespace qmsg::php
