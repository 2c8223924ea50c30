#include <algorithm>
#include <memory>

#include "commands/commands.h"
#include "io/json.h"
#include "io/output.h"
#include "schema/names.h"
#include "schema/schema.h"

namespace qmsg {
namespace pb = google::protobuf;

namespace {

struct TypesOptions {
  bool json = false;
};

// A message or an enum.
struct Type {
  const char* kind;
  std::string name;
  int size;  // fields or values
};

std::vector<Type> TypesOf(const pb::FileDescriptor* file) {
  std::vector<Type> types;
  for (const Element& element : SchemaElements()) {
    if (const auto* message = std::get_if<const pb::Descriptor*>(&element)) {
      if ((*message)->file() == file) {
        types.push_back({"message", (*message)->full_name(), (*message)->field_count()});
      }
    } else if (const auto* type = std::get_if<const pb::EnumDescriptor*>(&element)) {
      if ((*type)->file() == file) {
        types.push_back({"enum", (*type)->full_name(), (*type)->value_count()});
      }
    }
  }
  return types;
}

std::string Json() {
  JsonWriter json(JsonWriter::Style::kPretty);
  json.BeginArray();
  for (const pb::FileDescriptor* file : SchemaFiles()) {
    json.BeginObject();
    json.Key("file").String(file->name());
    json.Key("package").String(file->package());
    for (const char* kind : {"message", "enum"}) {
      const bool messages = kind == std::string("message");
      json.Key(messages ? "messages" : "enums").BeginArray();
      for (const Type& type : TypesOf(file)) {
        if (type.kind == std::string(kind)) {
          json.BeginObject().Key("name").String(type.name);
          json.Key(messages ? "fields" : "values").Number(type.size).EndObject();
        }
      }
      json.EndArray();
    }
    json.EndObject();
  }
  return json.EndArray().text() + "\n";
}

std::string Text(bool colour) {
  std::string text;
  for (const pb::FileDescriptor* file : SchemaFiles()) {
    text += (text.empty() ? "" : "\n");
    text += (colour ? "\x1b[1m" + file->name() + "\x1b[0m" : file->name()) + ", package " +
            file->package() + "\n";
    for (const Type& type : TypesOf(file)) {
      const bool is_message = type.kind == std::string("message");
      std::string line = std::string("  ") + type.kind;
      line.append(is_message ? 1 : 4, ' ');
      line += type.name;
      line.append(56 - std::min<std::size_t>(55, line.size()), ' ');
      line += std::to_string(type.size) + (is_message ? " field" : " value");
      text += line + (type.size == 1 ? "" : "s") + "\n";
    }
  }
  return text;
}

ExitCode PrintTypes(const TypesOptions& options) {
  Output& output = Output::Standard();
  output.Write(options.json ? Json() : Text(WantsColour(output)));
  return ExitCode::kFine;
}

}  // namespace

Command TypesCommand() {
  auto options = std::make_shared<TypesOptions>();
  return {"types",
          "List the messages and enums of the schema files",
          {{{"--json"}, "Print JSON", &options->json}},
          "",
          {"qmsg types", "qmsg types --json"},
          [options] { return PrintTypes(*options); }};
}

}  // namespace qmsg
