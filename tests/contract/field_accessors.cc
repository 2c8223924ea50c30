#include "field_accessors.h"

#include <google/protobuf/descriptor.h>

#include <type_traits>
#include <utility>

#include "support/message_list.h"

// Accessors are named after their field, so only a macro can list them.

namespace contract {
namespace {

template <class M>
M& As(Message& message) {
  return static_cast<M&>(message);
}

template <class M>
const M& As(const Message& message) {
  return static_cast<const M&>(message);
}

// Whether the class has the accessor that the function calls.
template <class M, class Call>
constexpr bool Compiles(const Call& /*call*/) {
  return std::is_invocable_v<Call, const M&>;
}

template <class T>
bool IsDefault(const T& value, const T& default_value) {
  if constexpr (std::is_arithmetic_v<T>) {
    return value == default_value;
  } else {
    return &value == &default_value;
  }
}

struct FieldTables {
  std::vector<ScalarField> scalars;
  std::vector<StringField> strings;
  std::vector<MessageField> messages;
  std::vector<RepeatedStringField> repeated_strings;
  std::vector<RepeatedMessageField> repeated_messages;
  std::vector<OneofMember> members;
};

#define FIELD(M, x) M::default_instance(), M::descriptor()->FindFieldByName(#x)
#define HAS_PRESENCE(M, x) \
  Compiles<M>([](const auto& message) -> decltype(message.has_##x()) { return message.has_##x(); })

#define SCALAR_FIELD(M, x)                                                                       \
  fields.scalars.push_back(                                                                      \
      {FIELD(M, x), HAS_PRESENCE(M, x),                                                          \
       [](Message& message, std::int64_t value) {                                                \
         As<M>(message).set_##x(static_cast<std::decay_t<decltype(As<M>(message).x())>>(value)); \
       },                                                                                        \
       [](const Message& message) { return static_cast<std::int64_t>(As<M>(message).x()); },     \
       [](Message& message) { As<M>(message).clear_##x(); }});

#define STRING_FIELD(M, x)                                                                    \
  fields.strings.push_back(                                                                   \
      {FIELD(M, x), HAS_PRESENCE(M, x),                                                       \
       [](Message& message, const std::string& text) { As<M>(message).set_##x(text); },       \
       [](Message& message, std::string&& text) { As<M>(message).set_##x(std::move(text)); }, \
       [](Message& message, const char* text) { As<M>(message).set_##x(text); },              \
       [](Message& message, const char* text, std::size_t length) {                           \
         As<M>(message).set_##x(text, length);                                                \
       },                                                                                     \
       [](const Message& message) -> const std::string& { return As<M>(message).x(); },       \
       [](Message& message) { return As<M>(message).mutable_##x(); },                         \
       [](Message& message) { return As<M>(message).release_##x(); },                         \
       [](Message& message, std::string* text) { As<M>(message).set_allocated_##x(text); },   \
       [](Message& message) { As<M>(message).clear_##x(); }});

#define MESSAGE_FIELD(M, x)                                                                      \
  {                                                                                              \
    using Sub = std::decay_t<decltype(std::declval<const M&>().x())>;                            \
    fields.messages.push_back(                                                                   \
        {FIELD(M, x), Sub::default_instance(),                                                   \
         [](const Message& message) { return As<M>(message).has_##x(); },                        \
         [](const Message& message) -> const Message& { return As<M>(message).x(); },            \
         [](Message& message) -> Message* { return As<M>(message).mutable_##x(); },              \
         [](Message& message) -> Message* { return As<M>(message).release_##x(); },              \
         [](Message& message, Message* value) {                                                  \
           As<M>(message).set_allocated_##x(static_cast<Sub*>(value));                           \
         },                                                                                      \
         [](Message& message) -> Message* { return As<M>(message).unsafe_arena_release_##x(); }, \
         [](Message& message, Message* value) {                                                  \
           As<M>(message).unsafe_arena_set_allocated_##x(static_cast<Sub*>(value));              \
         },                                                                                      \
         [](Message& message) { As<M>(message).clear_##x(); }});                                 \
  }

#define REPEATED_STRING_FIELD(M, x)                                                                \
  fields.repeated_strings.push_back(                                                               \
      {FIELD(M, x), [](const Message& message) { return As<M>(message).x##_size(); },              \
       [](const Message& message, int index) -> const std::string& {                               \
         return As<M>(message).x(index);                                                           \
       },                                                                                          \
       [](Message& message, int index) { return As<M>(message).mutable_##x(index); },              \
       [](Message& message, int index, const std::string& text) {                                  \
         As<M>(message).set_##x(index, text);                                                      \
       },                                                                                          \
       [](Message& message, int index, std::string&& text) {                                       \
         As<M>(message).set_##x(index, std::move(text));                                           \
       },                                                                                          \
       [](Message& message, int index, const char* text) { As<M>(message).set_##x(index, text); }, \
       [](Message& message, int index, const char* text, std::size_t length) {                     \
         As<M>(message).set_##x(index, text, length);                                              \
       },                                                                                          \
       [](Message& message) { return As<M>(message).add_##x(); },                                  \
       [](Message& message, const std::string& text) { As<M>(message).add_##x(text); },            \
       [](Message& message, std::string&& text) { As<M>(message).add_##x(std::move(text)); },      \
       [](Message& message, const char* text) { As<M>(message).add_##x(text); },                   \
       [](Message& message, const char* text, std::size_t length) {                                \
         As<M>(message).add_##x(text, length);                                                     \
       },                                                                                          \
       [](const Message& message) -> const google::protobuf::RepeatedPtrField<std::string>& {      \
         return As<M>(message).x();                                                                \
       },                                                                                          \
       [](Message& message) { return As<M>(message).mutable_##x(); },                              \
       [](Message& message) { As<M>(message).clear_##x(); }});

#define REPEATED_MESSAGE_FIELD(M, x)                                                              \
  fields.repeated_messages.push_back(                                                             \
      {FIELD(M, x), [](const Message& message) { return As<M>(message).x##_size(); },             \
       [](const Message& message, int index) -> const Message& {                                  \
         return As<M>(message).x(index);                                                          \
       },                                                                                         \
       [](Message& message, int index) -> Message* { return As<M>(message).mutable_##x(index); }, \
       [](Message& message) -> Message* { return As<M>(message).add_##x(); },                     \
       [](const Message& message, int index) -> const Message& {                                  \
         return As<M>(message).x().Get(index);                                                    \
       },                                                                                         \
       [](const Message& message) -> const void* { return &As<M>(message).x(); },                 \
       [](Message& message) -> const void* { return As<M>(message).mutable_##x(); },              \
       [](Message& message) { As<M>(message).clear_##x(); }});

#define MAP_FIELD(M, x)

#define MEMBER(M, g, x, kX, setter)                                                                \
  fields.members.push_back({FIELD(M, x), int{M::kX}, [](Message& message) { setter; },             \
                            [](const Message& message) { return As<M>(message).has_##x(); },       \
                            [](const Message& message) {                                           \
                              return IsDefault(As<M>(message).x(), M::default_instance().x());     \
                            },                                                                     \
                            [](Message& message) { As<M>(message).clear_##x(); },                  \
                            [](const Message& message) { return int{As<M>(message).g##_case()}; }, \
                            [](Message& message) { As<M>(message).clear_##g(); }});
#define ONEOF_SCALAR(M, g, x, kX) \
  SCALAR_FIELD(M, x)              \
  MEMBER(M, g, x, kX, As<M>(message).set_##x(1))
#define ONEOF_STRING(M, g, x, kX) \
  STRING_FIELD(M, x)              \
  MEMBER(M, g, x, kX, As<M>(message).set_##x("text"))
#define ONEOF_MESSAGE(M, g, x, kX) \
  MESSAGE_FIELD(M, x)              \
  MEMBER(M, g, x, kX, As<M>(message).mutable_##x())

const FieldTables& AllFields() {
  static const FieldTables all = [] {
    FieldTables fields;
#include "field_list.inc"
    return fields;
  }();
  return all;
}

}  // namespace

const std::vector<ScalarField>& ScalarFields() { return AllFields().scalars; }
const std::vector<StringField>& StringFields() { return AllFields().strings; }
const std::vector<MessageField>& MessageFields() { return AllFields().messages; }
const std::vector<RepeatedStringField>& RepeatedStringFields() {
  return AllFields().repeated_strings;
}
const std::vector<RepeatedMessageField>& RepeatedMessageFields() {
  return AllFields().repeated_messages;
}
const std::vector<OneofMember>& OneofMembers() { return AllFields().members; }

}  // namespace contract
