#include "expected_bytes.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/unknown_field_set.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "wire.h"

namespace contract {
namespace {

using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;

std::uint64_t SignExtended(std::int64_t value) { return static_cast<std::uint64_t>(value); }

std::uint64_t BitPattern(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// Fields that are always written, or, on their own, only if they are not zero.
std::string SingularField(const Message& message, const FieldDescriptor* field, bool always) {
  const Reflection& reflection = *message.GetReflection();
  const auto varint = [&](std::uint64_t value) {
    return always || value != 0 ? wire::VarintField(field->number(), value) : std::string();
  };
  switch (field->type()) {
    case FieldDescriptor::TYPE_INT32:
      return varint(SignExtended(reflection.GetInt32(message, field)));
    case FieldDescriptor::TYPE_INT64:
      return varint(SignExtended(reflection.GetInt64(message, field)));
    case FieldDescriptor::TYPE_UINT32:
      return varint(reflection.GetUInt32(message, field));
    case FieldDescriptor::TYPE_UINT64:
      return varint(reflection.GetUInt64(message, field));
    case FieldDescriptor::TYPE_BOOL:
      return varint(reflection.GetBool(message, field) ? 1 : 0);
    case FieldDescriptor::TYPE_ENUM:
      return varint(SignExtended(reflection.GetEnumValue(message, field)));
    case FieldDescriptor::TYPE_DOUBLE: {
      const std::uint64_t bits = BitPattern(reflection.GetDouble(message, field));
      return always || bits != 0 ? wire::Fixed64Field(field->number(), bits) : std::string();
    }
    case FieldDescriptor::TYPE_STRING: {
      const std::string text = reflection.GetString(message, field);
      return always || !text.empty() ? wire::LengthDelimitedField(field->number(), text)
                                     : std::string();
    }
    case FieldDescriptor::TYPE_MESSAGE:
      return reflection.HasField(message, field)
                 ? wire::LengthDelimitedField(field->number(),
                                              ExpectedBytes(reflection.GetMessage(message, field)))
                 : std::string();
    default:
      throw std::logic_error("No field has this type: " + field->full_name());
  }
}

void AppendMap(const Message& message, const FieldDescriptor* field,
               std::vector<Element>& elements) {
  const Reflection& reflection = *message.GetReflection();
  const FieldDescriptor* key = field->message_type()->map_key();
  const FieldDescriptor* value = field->message_type()->map_value();
  std::vector<const Message*> pairs;
  pairs.reserve(static_cast<std::size_t>(reflection.FieldSize(message, field)));
  for (int i = 0; i < reflection.FieldSize(message, field); ++i) {
    pairs.push_back(&reflection.GetRepeatedMessage(message, field, i));
  }
  const auto key_of = [key](const Message& pair) {
    return pair.GetReflection()->GetInt32(pair, key);
  };
  std::sort(pairs.begin(), pairs.end(),
            [&](const Message* a, const Message* b) { return key_of(*a) < key_of(*b); });
  for (const Message* pair : pairs) {
    const std::string value_bytes = ExpectedBytes(pair->GetReflection()->GetMessage(*pair, value));
    elements.push_back(
        {field->number(), wire::LengthDelimitedField(
                              field->number(), wire::VarintField(1, SignExtended(key_of(*pair))) +
                                                   wire::LengthDelimitedField(2, value_bytes))});
  }
}

void AppendRepeated(const Message& message, const FieldDescriptor* field,
                    std::vector<Element>& elements) {
  const Reflection& reflection = *message.GetReflection();
  for (int i = 0; i < reflection.FieldSize(message, field); ++i) {
    const std::string payload =
        field->type() == FieldDescriptor::TYPE_STRING
            ? reflection.GetRepeatedString(message, field, i)
            : ExpectedBytes(reflection.GetRepeatedMessage(message, field, i));
    elements.push_back({field->number(), wire::LengthDelimitedField(field->number(), payload)});
  }
}

void AppendField(const Message& message, const FieldDescriptor* field,
                 std::vector<Element>& elements) {
  if (field->is_map()) {
    AppendMap(message, field, elements);
    return;
  }
  if (field->is_repeated()) {
    AppendRepeated(message, field, elements);
    return;
  }
  const OneofDescriptor* oneof = field->containing_oneof();
  const bool always =
      oneof != nullptr && message.GetReflection()->GetOneofFieldDescriptor(message, oneof) == field;
  if (oneof != nullptr && !always) {
    return;
  }
  std::string bytes = SingularField(message, field, always);
  if (!bytes.empty()) {
    elements.push_back({field->number(), std::move(bytes)});
  }
}

std::string UnknownBytes(const UnknownFieldSet& unknown);

std::string UnknownBytes(const UnknownField& field) {
  switch (field.type()) {
    case UnknownField::TYPE_VARINT:
      return wire::VarintField(field.number(), field.varint());
    case UnknownField::TYPE_FIXED32:
      return wire::Fixed32Field(field.number(), field.fixed32());
    case UnknownField::TYPE_FIXED64:
      return wire::Fixed64Field(field.number(), field.fixed64());
    case UnknownField::TYPE_LENGTH_DELIMITED:
      return wire::LengthDelimitedField(field.number(), field.length_delimited());
    case UnknownField::TYPE_GROUP:
      return wire::GroupField(field.number(), UnknownBytes(field.group()));
  }
  throw std::logic_error("No unknown field has this type");
}

std::string UnknownBytes(const UnknownFieldSet& unknown) {
  std::string bytes;
  for (int i = 0; i < unknown.field_count(); ++i) {
    bytes += UnknownBytes(unknown.field(i));
  }
  return bytes;
}

}  // namespace

std::vector<Element> ExpectedElements(const Message& message) {
  std::vector<const FieldDescriptor*> fields = Fields(message);
  std::sort(fields.begin(), fields.end(), [](const FieldDescriptor* a, const FieldDescriptor* b) {
    return a->number() < b->number();
  });
  std::vector<Element> elements;
  for (const FieldDescriptor* field : fields) {
    AppendField(message, field, elements);
  }
  const UnknownFieldSet& unknown = message.GetReflection()->GetUnknownFields(message);
  for (int i = 0; i < unknown.field_count(); ++i) {
    elements.push_back({unknown.field(i).number(), UnknownBytes(unknown.field(i))});
  }
  return elements;
}

std::string Join(const std::vector<Element>& elements) {
  std::string bytes;
  for (const Element& element : elements) {
    bytes += element.bytes;
  }
  return bytes;
}

std::string ExpectedBytes(const Message& message) { return Join(ExpectedElements(message)); }

}  // namespace contract
