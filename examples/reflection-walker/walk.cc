#include "walk.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/unknown_field_set.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using google::protobuf::TextFormat;

// Whether the key of one entry of a map comes before that of another.
bool KeyIsLess(const Message* left, const Message* right) {
  const FieldDescriptor* key = left->GetDescriptor()->map_key();
  const Reflection& l = *left->GetReflection();
  const Reflection& r = *right->GetReflection();
  switch (key->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
      return l.GetInt32(*left, key) < r.GetInt32(*right, key);
    case FieldDescriptor::CPPTYPE_INT64:
      return l.GetInt64(*left, key) < r.GetInt64(*right, key);
    case FieldDescriptor::CPPTYPE_UINT32:
      return l.GetUInt32(*left, key) < r.GetUInt32(*right, key);
    case FieldDescriptor::CPPTYPE_UINT64:
      return l.GetUInt64(*left, key) < r.GetUInt64(*right, key);
    case FieldDescriptor::CPPTYPE_BOOL:
      return !l.GetBool(*left, key) && r.GetBool(*right, key);
    default:  // text is the only other type of a key
      return l.GetString(*left, key) < r.GetString(*right, key);
  }
}

class Walker {
 public:
  explicit Walker(std::ostream& out) : out_(out) { printer_.SetUseUtf8StringEscaping(true); }

  // Writes the values in the message at `path`.
  void Fields(const Message& message, const std::string& path) const {
    const Reflection& reflection = *message.GetReflection();
    std::vector<const FieldDescriptor*> fields;
    reflection.ListFields(message, &fields);  // those that are set
    const std::string prefix = path.empty() ? "" : path + ".";
    for (const FieldDescriptor* field : fields) {
      const std::string name = prefix + field->name();
      if (field->is_map()) {
        Entries(message, field, name);
      } else if (field->is_repeated()) {
        for (int i = 0; i < reflection.FieldSize(message, field); ++i) {
          Value(message, field, i, name + "[" + std::to_string(i) + "]");
        }
      } else {
        Value(message, field, -1, name);
      }
    }
    const int unknown = reflection.GetUnknownFields(message).field_count();
    if (unknown > 0) {
      out_ << prefix << "<unknown> = " << unknown << (unknown == 1 ? " field" : " fields") << '\n';
    } else if (fields.empty() && !path.empty()) {
      out_ << path << " = {}\n";
    }
  }

 private:
  // Writes one value; `index` is -1 for a field that is not repeated.
  void Value(const Message& message, const FieldDescriptor* field, int index,
             const std::string& path) const {
    if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
      const Reflection& reflection = *message.GetReflection();
      Fields(index < 0 ? reflection.GetMessage(message, field)
                       : reflection.GetRepeatedMessage(message, field, index),
             path);
    } else {
      out_ << path << " = " << Text(message, field, index) << '\n';
    }
  }

  void Entries(const Message& message, const FieldDescriptor* field,
               const std::string& path) const {
    const Reflection& reflection = *message.GetReflection();
    const int size = reflection.FieldSize(message, field);
    std::vector<const Message*> entries;
    entries.reserve(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) {
      entries.push_back(&reflection.GetRepeatedMessage(message, field, i));
    }
    std::sort(entries.begin(), entries.end(), KeyIsLess);
    for (const Message* entry : entries) {
      const google::protobuf::Descriptor& type = *field->message_type();
      Value(*entry, type.map_value(), -1, path + "[" + Text(*entry, type.map_key(), -1) + "]");
    }
  }

  // Prints an undeclared value of an enum as its number.
  std::string Text(const Message& message, const FieldDescriptor* field, int index) const {
    std::string text;
    printer_.PrintFieldValueToString(message, field, index, &text);
    return text;
  }

  std::ostream& out_;
  TextFormat::Printer printer_;
};

}  // namespace

void Walk(const Message& message, std::ostream& out) { Walker(out).Fields(message, ""); }
