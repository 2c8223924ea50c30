#include "schema/names.h"

#include <google/protobuf/any.pb.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

#include "error.h"
#include "io/text.h"
#include "schema/schema.h"

namespace qmsg {
namespace pb = google::protobuf;

namespace {

constexpr std::size_t kMostCandidates = 5;

using Elements = std::vector<Element>;

void AddEnum(const pb::EnumDescriptor* type, Elements& elements) {
  elements.emplace_back(type);
  for (int i = 0; i < type->value_count(); ++i) {
    elements.emplace_back(type->value(i));
  }
}

void AddMessage(const pb::Descriptor* message, Elements& elements) {
  if (message->options().map_entry()) {
    return;
  }
  elements.emplace_back(message);
  for (int i = 0; i < message->enum_type_count(); ++i) {
    AddEnum(message->enum_type(i), elements);
  }
  for (int i = 0; i < message->field_count(); ++i) {
    elements.emplace_back(message->field(i));
  }
  for (int i = 0; i < message->real_oneof_decl_count(); ++i) {
    elements.emplace_back(message->oneof_decl(i));
  }
  for (int i = 0; i < message->nested_type_count(); ++i) {
    AddMessage(message->nested_type(i), elements);
  }
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), Lower);
  return text;
}

bool EndsWith(std::string_view name, std::string_view end) {
  return name == end || (!end.empty() && name.size() > end.size() &&
                         name.substr(name.size() - end.size()) == end &&
                         name[name.size() - end.size() - 1] == '.');
}

// Files go by their whole names: "proto" is the end of each.
bool IsCalled(const Element& element, const std::string& name) {
  if (std::holds_alternative<const pb::FileDescriptor*>(element)) {
    return FullName(element) == name;
  }
  if (EndsWith(FullName(element), name)) {
    return true;
  }
  const auto* value = std::get_if<const pb::EnumValueDescriptor*>(&element);
  return value != nullptr && EndsWith((*value)->full_name(), name);
}

// As many components of the end of `name` as `count` says, or all.
std::string_view LastComponents(std::string_view name, std::ptrdiff_t count) {
  std::size_t begin = name.size();
  while (count-- > 0 && begin != std::string_view::npos && begin != 0) {
    begin = name.rfind('.', begin - 1);
  }
  return begin == std::string_view::npos || begin == 0 ? name : name.substr(begin + 1);
}

std::ptrdiff_t CountComponents(const std::string& name) {
  return std::count(name.begin(), name.end(), '.') + 1;
}

// The name that a short name of a field, oneof or value includes.
std::optional<Element> ContainerOf(const Element& element) {
  if (const auto* field = std::get_if<const pb::FieldDescriptor*>(&element)) {
    return (*field)->containing_type();
  }
  if (const auto* oneof = std::get_if<const pb::OneofDescriptor*>(&element)) {
    return (*oneof)->containing_type();
  }
  if (const auto* value = std::get_if<const pb::EnumValueDescriptor*>(&element)) {
    return (*value)->type();
  }
  return std::nullopt;
}

std::string Join(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < std::min(names.size(), kMostCandidates); ++i) {
    text += (text.empty() ? "" : ", ") + names[i];
  }
  if (names.size() > kMostCandidates) {
    text += " and " + std::to_string(names.size() - kMostCandidates) + " more";
  }
  return text;
}

// Suggestions, the nearest first; none that shares less than half of the name.
std::vector<std::string> Nearest(const std::string& name, const Elements& elements) {
  const std::ptrdiff_t components = CountComponents(name);
  std::vector<std::pair<std::size_t, std::string>> candidates;
  for (const Element& element : elements) {
    const std::string full = FullName(element);
    const std::string_view end = std::holds_alternative<const pb::FileDescriptor*>(element)
                                     ? std::string_view(full)
                                     : LastComponents(full, components);
    const std::size_t distance = EditDistance(name, end);
    if (distance <= name.size() / 2) {
      candidates.emplace_back(distance, full);
    }
  }
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  candidates.resize(std::min(candidates.size(), kMostCandidates));
  std::vector<std::string> names;
  names.reserve(candidates.size());
  for (auto& candidate : candidates) {
    names.push_back(std::move(candidate.second));
  }
  return names;
}

// Those whose name is that in lower case. Files go by their whole names here, too.
Elements CalledInLowerCase(const Elements& elements, const std::string& called) {
  const std::string wanted = LowerCase(called);
  Elements found;
  std::copy_if(elements.begin(), elements.end(), std::back_inserter(found),
               [&wanted](const Element& element) {
                 const std::string name = LowerCase(FullName(element));
                 return std::holds_alternative<const pb::FileDescriptor*>(element)
                            ? name == wanted
                            : EndsWith(name, wanted);
               });
  return found;
}

Element FindAmong(const Elements& elements, std::string name, const char* nothing) {
  // A type URL, but not the path of a file.
  const std::string_view file_end = ".proto";
  const bool is_file = name.size() > file_end.size() &&
                       name.compare(name.size() - file_end.size(), file_end.size(), file_end) == 0;
  if (IsTypeUrl(name) && !is_file) {
    name.erase(0, name.rfind('/') + 1);
  }
  Elements found;
  for (const Element& element : elements) {
    if (FullName(element) == name) {
      return element;
    }
    if (IsCalled(element, name)) {
      found.push_back(element);
    }
  }
  if (found.empty()) {
    found = CalledInLowerCase(elements, name);
  }
  if (found.size() == 1) {
    return found.front();
  }
  if (!found.empty()) {
    std::vector<std::string> names;
    std::transform(found.begin(), found.end(), std::back_inserter(names), FullName);
    throw Error(ExitCode::kWrongUse, "'" + name + "' is ambiguous: " + Join(names));
  }
  const std::vector<std::string> nearest = Nearest(name, elements);
  throw Error(ExitCode::kWrongUse,
              std::string(nothing) + " is called '" + name + "'; " +
                  (nearest.empty() ? "'qmsg types' lists all types" : "nearest: " + Join(nearest)));
}

}  // namespace

const Elements& SchemaElements() {
  static const Elements* const kElements = [] {
    auto* elements = new Elements;
    for (const pb::FileDescriptor* file : SchemaFiles()) {
      elements->emplace_back(file);
      for (int i = 0; i < file->enum_type_count(); ++i) {
        AddEnum(file->enum_type(i), *elements);
      }
      for (int i = 0; i < file->message_type_count(); ++i) {
        AddMessage(file->message_type(i), *elements);
      }
    }
    for (const pb::Descriptor* message :
         {pb::Timestamp::descriptor(), pb::Duration::descriptor(), pb::Any::descriptor()}) {
      AddMessage(message, *elements);
    }
    return elements;
  }();
  return *kElements;
}

std::string FullName(const Element& element) {
  if (const auto* value = std::get_if<const pb::EnumValueDescriptor*>(&element)) {
    return (*value)->type()->full_name() + "." + (*value)->name();
  }
  return std::visit(
      [](const auto* descriptor) -> std::string {
        if constexpr (std::is_same_v<decltype(descriptor), const pb::FileDescriptor*>) {
          return descriptor->name();
        } else {
          return descriptor->full_name();
        }
      },
      element);
}

const char* Kind(const Element& element) {
  static constexpr const char* kKinds[] = {"file",  "message",    "enum",
                                           "field", "enum value", "oneof"};
  return kKinds[element.index()];
}

std::string ShortName(const Element& element) {
  const std::string full = FullName(element);
  const std::optional<Element> container = ContainerOf(element);
  const Elements& all = SchemaElements();
  for (std::ptrdiff_t components = container ? CountComponents(ShortName(*container)) + 1 : 1;;
       ++components) {
    std::string name(LastComponents(full, components));
    if (name == full || std::count_if(all.begin(), all.end(), [&name](const Element& other) {
                          return IsCalled(other, name);
                        }) == 1) {
      return name;
    }
  }
}

Element FindElement(const std::string& name) {
  // "SqlQuery.5" is a field by its number.
  const std::size_t dot = name.rfind('.');
  const std::string number = dot == std::string::npos ? "" : name.substr(dot + 1);
  if (!number.empty() && number.size() < 10 &&
      number.find_first_not_of("0123456789") == std::string::npos) {
    const pb::Descriptor* message = FindMessage(name.substr(0, dot));
    const pb::FieldDescriptor* field = message->FindFieldByNumber(std::stoi(number));
    if (field == nullptr) {
      throw Error(ExitCode::kWrongUse, message->full_name() + " has no field " + number +
                                           "; qmsg describe " + message->name() +
                                           " lists its fields");
    }
    return field;
  }
  return FindAmong(SchemaElements(), name, "nothing");
}

const pb::Descriptor* FindMessage(const std::string& name) {
  Elements messages;
  for (const Element& element : SchemaElements()) {
    if (std::holds_alternative<const pb::Descriptor*>(element)) {
      messages.push_back(element);
    }
  }
  return std::get<const pb::Descriptor*>(FindAmong(messages, name, "no message"));
}

}  // namespace qmsg
