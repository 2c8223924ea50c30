#include "io/json.h"

#include "describe/render.h"

namespace qmsg {
namespace {

template <typename Element, typename Write>
void WriteList(JsonWriter& json, const char* key, const std::vector<Element>& list, Write write) {
  json.Key(key).BeginArray();
  for (const Element& element : list) {
    write(element);
  }
  json.EndArray();
}

void Write(JsonWriter& json, const FieldFacts& field) {
  json.BeginObject();
  json.Key("name").String(field.name);
  json.Key("full_name").String(field.full_name);
  json.Key("number").Number(field.number);
  json.Key("type").String(field.type);
  json.Key("cardinality").String(field.cardinality);
  json.Key("tag").String(field.tag);
  json.Key("wire_type").String(field.wire_type);
  json.Key("presence").String(field.explicit_presence ? "explicit" : "implicit");
  json.Key("oneof");
  if (field.oneof.empty()) {
    json.Null();
  } else {
    json.String(field.oneof);
  }
  json.Key("comment").String(field.comment);
  json.EndObject();
}

void Write(JsonWriter& json, const OneofFacts& oneof) {
  json.BeginObject();
  json.Key("name").String(oneof.name);
  WriteList(json, "members", oneof.members,
            [&json](const std::string& name) { json.String(name); });
  json.Key("comment").String(oneof.comment);
  json.EndObject();
}

void Write(JsonWriter& json, const EnumFacts& type) {
  json.BeginObject();
  json.Key("name").String(type.full_name);
  json.Key("comment").String(type.comment);
  WriteList(json, "values", type.values, [&json](const ValueFacts& value) {
    json.BeginObject();
    json.Key("name").String(value.name);
    json.Key("number").Number(value.number);
    json.Key("comment").String(value.comment);
    json.EndObject();
  });
  json.EndObject();
}

void Write(JsonWriter& json, const MessageFacts& message) {
  json.BeginObject();
  json.Key("name").String(message.full_name);
  json.Key("fields").Number(message.field_count);
  json.Key("comment").String(message.comment);
  json.EndObject();
}

}  // namespace

std::string AsJson(const Description& description) {
  JsonWriter json(JsonWriter::Style::kPretty);
  const auto write = [&json](const auto& facts) { Write(json, facts); };
  json.BeginObject();
  json.Key("kind").String(description.kind);
  json.Key("name").String(description.name);
  json.Key("inside");
  if (description.inside.empty()) {
    json.Null();
  } else {
    json.String(description.inside);
  }
  json.Key("file").String(description.file);
  json.Key("package").String(description.package);
  json.Key("comment").String(description.comment);
  WriteList(json, "messages", description.messages, write);
  WriteList(json, "fields", description.fields, write);
  WriteList(json, "oneofs", description.oneofs, write);
  WriteList(json, "enums", description.enums, write);
  WriteList(json, "unused_numbers", description.unused_numbers,
            [&json](int number) { json.Number(number); });
  WriteList(json, "used_by", description.used_by,
            [&json](const std::string& name) { json.String(name); });
  json.EndObject();
  return json.text() + "\n";
}

}  // namespace qmsg
