#include "fill.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/unknown_field_set.h>
#include <qmsg/jobqueue.pb.h>

#include <stdexcept>

#include "expected_bytes.h"

namespace contract {
namespace {

// Short enough for the string object itself, or with a buffer of its own.
std::string Text(const FieldDescriptor* field, int filling) {
  const std::string text = std::to_string(filling) + " times";
  return field->number() % 2 == 0 ? text : field->full_name() + ' ' + text;
}

// Any declared value but the first, which is not written.
int EnumValue(const FieldDescriptor* field, int filling) {
  const int count = field->enum_type()->value_count();
  return field->enum_type()->value(1 + filling % (count - 1))->number();
}

void FillSingular(Message& message, const FieldDescriptor* field, int filling) {
  const Reflection& reflection = *message.GetReflection();
  const int value = 100 * (filling + 1) + field->number();
  switch (field->type()) {
    case FieldDescriptor::TYPE_INT32:
      return reflection.SetInt32(&message, field, -value);
    case FieldDescriptor::TYPE_INT64:
      return reflection.SetInt64(&message, field, -(std::int64_t{1} << 40) - value);
    case FieldDescriptor::TYPE_UINT32:
      return reflection.SetUInt32(&message, field, 0xffff0000U + static_cast<std::uint32_t>(value));
    case FieldDescriptor::TYPE_UINT64:
      return reflection.SetUInt64(&message, field,
                                  ~std::uint64_t{0} - static_cast<unsigned>(value));
    case FieldDescriptor::TYPE_BOOL:
      return reflection.SetBool(&message, field, true);
    case FieldDescriptor::TYPE_DOUBLE:
      return reflection.SetDouble(&message, field, value + 0.25);
    case FieldDescriptor::TYPE_ENUM:
      return reflection.SetEnumValue(&message, field, EnumValue(field, filling));
    case FieldDescriptor::TYPE_STRING:
      return reflection.SetString(&message, field, Text(field, filling));
    case FieldDescriptor::TYPE_MESSAGE:
      return Fill(*reflection.MutableMessage(&message, field), filling);
    default:
      throw std::logic_error("No field has this type: " + field->full_name());
  }
}

// Two elements, so that two members of a oneof meet in one list.
void FillRepeated(Message& message, const FieldDescriptor* field, int filling) {
  const Reflection& reflection = *message.GetReflection();
  for (const int element : {filling, filling + 1}) {
    if (field->type() == FieldDescriptor::TYPE_STRING) {
      reflection.AddString(&message, field, Text(field, element));
    } else {
      Fill(*reflection.AddMessage(&message, field), element);
    }
  }
}

// The keys of different fillings differ, and those of a higher one are higher.
void FillMap(Message& message, int filling) {
  auto& map = *dynamic_cast<quor::protobuf::JQ::AttrList&>(message).mutable_attr_list();
  Fill(map[10 * filling + 3], filling);
  Fill(map[10 * filling - 1], filling + 1);
}

}  // namespace

void Fill(Message& message, int filling) {
  for (const FieldDescriptor* field : Fields(message)) {
    const OneofDescriptor* oneof = field->containing_oneof();
    if (oneof == nullptr || oneof->field(filling % oneof->field_count()) == field) {
      FillField(message, field, filling);
    }
  }
  AddUnknownFields(message, filling);
}

void FillField(Message& message, const FieldDescriptor* field, int filling) {
  if (field->is_map()) {
    FillMap(message, filling);
  } else if (field->is_repeated()) {
    FillRepeated(message, field, filling);
  } else {
    FillSingular(message, field, filling);
  }
}

void AddUnknownFields(Message& message, int filling) {
  auto& unknown = *message.GetReflection()->MutableUnknownFields(&message);
  unknown.AddVarint(1000, 300U + static_cast<unsigned>(filling));
  unknown.AddFixed64(1003, 0x1122334455667788);
  unknown.AddLengthDelimited(1002, "unknown");
  unknown.AddGroup(1001)->AddVarint(1, 7);
  unknown.AddFixed32(1000, 0x11223344);
}

std::unique_ptr<Message> Filled(const Message& prototype, int filling) {
  std::unique_ptr<Message> message = NewOnHeap(prototype);
  Fill(*message, filling);
  return message;
}

std::unique_ptr<Message> FilledClass::OnHeap() const {
  return Filled(*type.default_instance, filling);
}

Message& FilledClass::OnArena(Arena& arena) const {
  Message& message = *type.create_on_arena(arena);
  Fill(message, filling);
  return message;
}

std::string FilledClass::Bytes() const { return ExpectedBytes(*OnHeap()); }

}  // namespace contract
