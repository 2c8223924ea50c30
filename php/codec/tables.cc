#include "codec/tables.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <google/protobuf/wire_format.h>

#include <algorithm>
#include <stdexcept>

#include "io/escape.h"
#include "schema/schema.h"

namespace qmsg::php {

namespace pb = google::protobuf;

const Tables* tables = nullptr;

namespace {

zend_string* Interned(const std::string& text) {
  return zend_string_init_interned(text.data(), text.size(), true);
}

[[noreturn]] void Refuse(const std::string& name) {
  throw std::logic_error("the codec of the PHP extension cannot handle " + name);
}

Kind KindOf(const pb::FieldDescriptor* field) {
  switch (field->type()) {
    case pb::FieldDescriptor::TYPE_BOOL:
      return Kind::kBool;
    case pb::FieldDescriptor::TYPE_INT32:
      return Kind::kInt32;
    case pb::FieldDescriptor::TYPE_UINT32:
      return Kind::kUint32;
    case pb::FieldDescriptor::TYPE_INT64:
      return Kind::kInt64;
    case pb::FieldDescriptor::TYPE_UINT64:
      return Kind::kUint64;
    case pb::FieldDescriptor::TYPE_DOUBLE:
      return Kind::kDouble;
    case pb::FieldDescriptor::TYPE_STRING:
      return Kind::kString;
    case pb::FieldDescriptor::TYPE_ENUM:
      return Kind::kEnum;
    case pb::FieldDescriptor::TYPE_MESSAGE:
      return field->is_map() ? Kind::kMap : Kind::kMessage;
    default:
      Refuse(field->full_name());
  }
}

Kind KindOf(const pb::Descriptor* type) {
  if (type == pb::Timestamp::descriptor()) {
    return Kind::kTimestamp;
  }
  return type == pb::Duration::descriptor() ? Kind::kDuration : Kind::kMessage;
}

}  // namespace

Tables::Tables()
    : type_key_(Interned("@type")),
      value_key_(Interned("value")),
      seconds_key_(Interned("seconds")),
      nanos_key_(Interned("nanos")) {
  std::vector<const pb::Descriptor*> types = SchemaMessages();
  types.insert(types.end(),
               {pb::Timestamp::descriptor(), pb::Duration::descriptor(), pb::Any::descriptor()});
  for (const pb::Descriptor* type : types) {
    AddNames(Add(type));
  }
  // A full name is never ambiguous, even if another name ends with it.
  for (const pb::Descriptor* type : types) {
    by_name_[type->full_name()] = Add(type);
  }
}

const MessageTable* Tables::Find(std::string_view name) const {
  const auto found = by_name_.find(name);
  if (found != by_name_.end() && found->second != nullptr) {
    return found->second;
  }
  return messages_.at(FindMessage(Escape(name))).get();
}

const MessageTable* Tables::OfUrl(std::string_view url) const {
  const pb::Descriptor* type = TypeOf(url);
  return type == nullptr ? nullptr : messages_.at(type).get();
}

const MessageTable* Tables::Add(const pb::Descriptor* type) {
  std::unique_ptr<MessageTable>& table = messages_[type];
  if (table != nullptr) {
    return table.get();
  }
  table = std::make_unique<MessageTable>();
  MessageTable& added = *table;  // messages_ grows below
  added.type = type;
  added.is_any = type == pb::Any::descriptor();
  added.kind = KindOf(type);
  if (added.is_any) {
    return &added;
  }
  for (int i = 0; i < type->field_count(); ++i) {
    added.fields.push_back(MakeField(type->field(i)));
  }
  std::sort(added.fields.begin(), added.fields.end(),
            [](const Field& one, const Field& other) { return one.tag < other.tag; });
  if (added.fields.size() > kMostFields) {
    Refuse(type->full_name() + ": it has more than " + std::to_string(kMostFields) + " fields");
  }
  for (const Field& field : added.fields) {
    added.by_number.resize(field.number() + 1);
    added.by_number.back() = &field;
    added.by_name[field.descriptor->name()] = &field;
    added.by_name[field.descriptor->json_name()] = &field;
  }
  return &added;
}

Field Tables::MakeField(const pb::FieldDescriptor* descriptor) {
  Field field{};
  field.kind = KindOf(descriptor);
  field.is_repeated = descriptor->is_repeated();
  field.has_presence = descriptor->has_presence();
  field.tag = pb::internal::WireFormat::MakeTag(descriptor);
  field.oneof = descriptor->containing_oneof() == nullptr
                    ? 0
                    : 1U << static_cast<unsigned>(descriptor->containing_oneof()->index());
  field.key = Interned(descriptor->json_name());
  field.descriptor = descriptor;
  if (field.kind == Kind::kEnum) {
    field.enumeration = Add(descriptor->enum_type());
  } else if (field.kind == Kind::kMessage) {
    field.message = Add(descriptor->message_type());
    field.kind = field.message->kind;
  } else if (field.kind == Kind::kMap) {
    const pb::FieldDescriptor* value = descriptor->message_type()->map_value();
    if (descriptor->message_type()->map_key()->type() != pb::FieldDescriptor::TYPE_INT32 ||
        value->type() != pb::FieldDescriptor::TYPE_MESSAGE ||
        KindOf(value->message_type()) != Kind::kMessage) {
      Refuse(descriptor->full_name());
    }
    field.message = Add(value->message_type());
  }
  const bool can_repeat =
      field.kind == Kind::kString || field.kind == Kind::kMessage || field.kind == Kind::kMap;
  const bool is_any = field.message != nullptr && field.message->is_any;
  if ((field.is_repeated && !can_repeat) || is_any) {
    Refuse(descriptor->full_name());
  }
  return field;
}

const EnumTable* Tables::Add(const pb::EnumDescriptor* type) {
  std::unique_ptr<EnumTable>& table = enums_[type];
  if (table == nullptr) {
    table = std::make_unique<EnumTable>();
    table->type = type;
    for (int i = 0; i < type->value_count(); ++i) {
      if (type->value(i)->number() != i) {
        Refuse(type->full_name());
      }
      table->names.push_back(Interned(type->value(i)->name()));
    }
  }
  return table.get();
}

void Tables::AddNames(const MessageTable* table) {
  std::string_view name = table->type->full_name();
  while (true) {
    const auto [at, is_new] = by_name_.emplace(name, table);
    if (!is_new) {
      at->second = nullptr;
    }
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos) {
      return;
    }
    name.remove_prefix(dot + 1);
  }
}

}  // namespace qmsg::php
