#include "describe/description.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format.h>

#include <array>

#include "io/text.h"
#include "schema/comments.h"
#include "schema/schema.h"

namespace qmsg {
namespace pb = google::protobuf;

namespace {

using pb::internal::WireFormat;
using pb::internal::WireFormatLite;

std::string TypeText(const pb::FieldDescriptor* field) {
  if (field->is_map()) {
    return "map<" + TypeText(field->message_type()->map_key()) + ", " +
           TypeText(field->message_type()->map_value()) + ">";
  }
  if (field->message_type() != nullptr) {
    return field->message_type()->full_name();
  }
  return field->enum_type() != nullptr ? field->enum_type()->full_name() : field->type_name();
}

const char* CardinalityText(const pb::FieldDescriptor* field) {
  if (field->is_map()) {
    return "map";
  }
  return field->is_repeated() ? "repeated" : "singular";
}

std::string TagText(const pb::FieldDescriptor* field) {
  std::array<pb::uint8, 5> bytes{};
  const pb::uint8* end =
      pb::io::CodedOutputStream::WriteVarint32ToArray(WireFormat::MakeTag(field), bytes.data());
  std::string text;
  for (const pb::uint8* byte = bytes.data(); byte != end; ++byte) {
    text += text.empty() ? "" : " ";
    text += {kHexDigits[*byte >> 4U], kHexDigits[*byte & 15U]};
  }
  return text;
}

const char* WireTypeText(const pb::FieldDescriptor* field) {
  switch (WireFormatLite::GetTagWireType(WireFormat::MakeTag(field))) {
    case WireFormatLite::WIRETYPE_VARINT:
      return "varint";
    case WireFormatLite::WIRETYPE_FIXED64:
      return "64-bit";
    case WireFormatLite::WIRETYPE_FIXED32:
      return "32-bit";
    default:
      return "length-delimited";
  }
}

std::string PresenceText(const pb::FieldDescriptor* field) {
  if (field->real_containing_oneof() != nullptr) {
    return "explicit, as a member of oneof " + field->real_containing_oneof()->name();
  }
  if (field->has_presence()) {
    return "explicit";
  }
  if (field->is_repeated()) {
    return "implicit: no elements, nothing written";
  }
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_STRING:
      return "implicit: empty is not written";
    case pb::FieldDescriptor::CPPTYPE_BOOL:
      return "implicit: false is not written";
    case pb::FieldDescriptor::CPPTYPE_ENUM:
      return "implicit: " + field->default_value_enum()->name() + " is not written";
    default:
      return "implicit: 0 is not written";
  }
}

FieldFacts FactsOf(const pb::FieldDescriptor* field) {
  const pb::OneofDescriptor* oneof = field->real_containing_oneof();
  return {field->name(),          field->full_name(),
          field->number(),        TypeText(field),
          CardinalityText(field), TagText(field),
          WireTypeText(field),    field->has_presence(),
          PresenceText(field),    oneof == nullptr ? "" : oneof->name(),
          CommentOf(field)};
}

OneofFacts FactsOf(const pb::OneofDescriptor* oneof) {
  OneofFacts facts{oneof->name(), {}, CommentOf(oneof)};
  for (int i = 0; i < oneof->field_count(); ++i) {
    facts.members.push_back(oneof->field(i)->name());
  }
  return facts;
}

ValueFacts FactsOf(const pb::EnumValueDescriptor* value) {
  return {value->name(), FullName(value), value->number(), CommentOf(value)};
}

EnumFacts FactsOf(const pb::EnumDescriptor* type) {
  EnumFacts facts{type->full_name(), {}, CommentOf(type)};
  for (int i = 0; i < type->value_count(); ++i) {
    facts.values.push_back(FactsOf(type->value(i)));
  }
  return facts;
}

std::vector<int> UnusedNumbers(const pb::Descriptor* message) {
  int last = 0;
  for (int i = 0; i < message->field_count(); ++i) {
    last = std::max(last, message->field(i)->number());
  }
  std::vector<int> unused;
  for (int number = 1; number < last; ++number) {
    if (message->FindFieldByNumber(number) == nullptr) {
      unused.push_back(number);
    }
  }
  return unused;
}

// Whether the field, or the values of a map, are of that type.
bool IsOf(const pb::FieldDescriptor* field, const std::string& type) {
  return TypeText(field->is_map() ? field->message_type()->map_value() : field) == type;
}

std::vector<std::string> UsesOf(const std::string& type) {
  std::vector<std::string> uses;
  for (const pb::Descriptor* message : SchemaMessages()) {
    for (int i = 0; i < message->field_count(); ++i) {
      if (IsOf(message->field(i), type)) {
        uses.push_back(message->field(i)->full_name());
      }
    }
  }
  return uses;
}

void AddEnums(const pb::Descriptor* message, Description& description) {
  for (int i = 0; i < message->enum_type_count(); ++i) {
    description.enums.push_back(FactsOf(message->enum_type(i)));
  }
}

std::string NameOf(const pb::Descriptor* message) {
  return message == nullptr ? "" : message->full_name();
}

void Add(const pb::FileDescriptor* file, Description& description) {
  description.file = file->name();
  description.package = file->package();
  for (const Element& element : SchemaElements()) {
    const auto* message = std::get_if<const pb::Descriptor*>(&element);
    if (message != nullptr && (*message)->file() == file) {
      description.messages.push_back(
          {(*message)->full_name(), (*message)->field_count(), CommentOf(element)});
      AddEnums(*message, description);
    }
  }
  for (int i = 0; i < file->enum_type_count(); ++i) {
    description.enums.push_back(FactsOf(file->enum_type(i)));
  }
}

void Add(const pb::Descriptor* message, Description& description) {
  description.inside = NameOf(message->containing_type());
  for (int i = 0; i < message->field_count(); ++i) {
    description.fields.push_back(FactsOf(message->field(i)));
  }
  for (int i = 0; i < message->real_oneof_decl_count(); ++i) {
    description.oneofs.push_back(FactsOf(message->oneof_decl(i)));
  }
  AddEnums(message, description);
  description.unused_numbers = UnusedNumbers(message);
  description.used_by = UsesOf(message->full_name());
}

void Add(const pb::EnumDescriptor* type, Description& description) {
  description.inside = NameOf(type->containing_type());
  description.enums.push_back(FactsOf(type));
  description.used_by = UsesOf(type->full_name());
}

void Add(const pb::FieldDescriptor* field, Description& description) {
  description.inside = NameOf(field->containing_type());
  description.fields.push_back(FactsOf(field));
  if (field->enum_type() != nullptr) {
    description.enums.push_back(FactsOf(field->enum_type()));
  }
}

void Add(const pb::EnumValueDescriptor* value, Description& description) {
  description.inside = value->type()->full_name();
  description.enums.push_back(
      {value->type()->full_name(), {FactsOf(value)}, CommentOf(value->type())});
}

void Add(const pb::OneofDescriptor* oneof, Description& description) {
  description.inside = NameOf(oneof->containing_type());
  description.oneofs.push_back(FactsOf(oneof));
  for (int i = 0; i < oneof->field_count(); ++i) {
    description.fields.push_back(FactsOf(oneof->field(i)));
  }
}

const pb::FileDescriptor* FileOf(const pb::FileDescriptor* file) { return file; }
const pb::FileDescriptor* FileOf(const pb::EnumValueDescriptor* value) {
  return value->type()->file();
}
const pb::FileDescriptor* FileOf(const pb::OneofDescriptor* oneof) {
  return oneof->containing_type()->file();
}
template <typename Descriptor>
const pb::FileDescriptor* FileOf(const Descriptor* descriptor) {
  return descriptor->file();
}

}  // namespace

Description Describe(const Element& element) {
  Description description;
  description.kind = Kind(element);
  description.name = FullName(element);
  description.comment = CommentOf(element);
  std::visit(
      [&description](const auto* descriptor) {
        description.file = FileOf(descriptor)->name();
        description.package = FileOf(descriptor)->package();
        Add(descriptor, description);
      },
      element);
  return description;
}

}  // namespace qmsg
