// The generated accessors of every field, by kind of field.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <functional>
#include <type_traits>

#include "message_list.h"
#include "prototypes.h"

namespace contract {
namespace {

template <class M>
const FieldDescriptor* Field(const char* name) {
  return M::descriptor()->FindFieldByName(name);
}

template <class M>
void ExpectOnly(const M& message, const char* field) {
  std::vector<const FieldDescriptor*> set;
  message.GetReflection()->ListFields(message, &set);
  EXPECT_EQ(set, std::vector<const FieldDescriptor*>{Field<M>(field)});
}

template <class M>
void ExpectNothing(const M& message) {
  EXPECT_EQ(message.SerializeAsString(), "");
}

TEST(ScalarAccessors, SetReadAndClear){
#define SCALAR_FIELD(M, x)                             \
  {                                                    \
    SCOPED_TRACE(#M "." #x);                           \
    M message;                                         \
    using Value = std::decay_t<decltype(message.x())>; \
    EXPECT_EQ(message.x(), static_cast<Value>(0));     \
    message.set_##x(static_cast<Value>(1));            \
    EXPECT_EQ(message.x(), static_cast<Value>(1));     \
    ExpectOnly(message, #x);                           \
    message.clear_##x();                               \
    EXPECT_EQ(message.x(), static_cast<Value>(0));     \
    ExpectNothing(message);                            \
  }
#include "field_list.inc"
}

TEST(StringAccessors, SetReadChangeAndClear) {
  const std::string text = "a string";
#define STRING_FIELD(M, x)                               \
  {                                                      \
    SCOPED_TRACE(#M "." #x);                             \
    M message;                                           \
    EXPECT_EQ(message.x(), "");                          \
    EXPECT_EQ(&message.x(), &M::default_instance().x()); \
    message.set_##x(text);                               \
    EXPECT_EQ(message.x(), "a string");                  \
    ExpectOnly(message, #x);                             \
    message.set_##x("a pointer");                        \
    EXPECT_EQ(message.x(), "a pointer");                 \
    message.set_##x("pointer and length", 7);            \
    EXPECT_EQ(message.x(), "pointer");                   \
    message.set_##x(std::string("moved"));               \
    EXPECT_EQ(message.x(), "moved");                     \
    message.mutable_##x()->append(" on");                \
    EXPECT_EQ(message.x(), "moved on");                  \
    message.clear_##x();                                 \
    EXPECT_EQ(message.x(), "");                          \
    ExpectNothing(message);                              \
  }
#include "field_list.inc"
}

TEST(MessageAccessors, ShowPresenceAndReadTheDefaultInstanceWhenAbsent){
#define MESSAGE_FIELD(M, x)                            \
  {                                                    \
    SCOPED_TRACE(#M "." #x);                           \
    M message;                                         \
    using Sub = std::decay_t<decltype(message.x())>;   \
    EXPECT_FALSE(M::default_instance().has_##x());     \
    EXPECT_FALSE(message.has_##x());                   \
    EXPECT_EQ(&message.x(), &Sub::default_instance()); \
    EXPECT_FALSE(message.has_##x());                   \
    Sub* const sub = message.mutable_##x();            \
    EXPECT_TRUE(message.has_##x());                    \
    EXPECT_EQ(&message.x(), sub);                      \
    EXPECT_EQ(message.mutable_##x(), sub);             \
    ExpectOnly(message, #x);                           \
    message.clear_##x();                               \
    EXPECT_FALSE(message.has_##x());                   \
    EXPECT_EQ(&message.x(), &Sub::default_instance()); \
    ExpectNothing(message);                            \
  }
#include "field_list.inc"
}

TEST(RepeatedStringAccessors, AddSetReadAndClear) {
  const std::string text = "a string";
#define REPEATED_STRING_FIELD(M, x)                                                           \
  {                                                                                           \
    SCOPED_TRACE(#M "." #x);                                                                  \
    M message;                                                                                \
    EXPECT_EQ(message.x##_size(), 0);                                                         \
    EXPECT_EQ(*message.add_##x(), "");                                                        \
    message.add_##x(text);                                                                    \
    message.add_##x(std::string("moved"));                                                    \
    message.add_##x("a pointer");                                                             \
    message.add_##x("pointer and length", 7);                                                 \
    const std::vector<std::string> added = {"", "a string", "moved", "a pointer", "pointer"}; \
    EXPECT_EQ(std::vector<std::string>(message.x().begin(), message.x().end()), added);       \
    EXPECT_EQ(message.x##_size(), 5);                                                         \
    message.set_##x(0, text);                                                                 \
    message.set_##x(1, std::string("moved"));                                                 \
    message.set_##x(2, "a pointer");                                                          \
    message.set_##x(3, "pointer and length", 7);                                              \
    *message.mutable_##x(4) = "changed";                                                      \
    EXPECT_EQ(message.x(0), "a string");                                                      \
    EXPECT_EQ(message.x(1), "moved");                                                         \
    EXPECT_EQ(message.x(2), "a pointer");                                                     \
    EXPECT_EQ(message.x(3), "pointer");                                                       \
    EXPECT_EQ(message.x(4), "changed");                                                       \
    EXPECT_EQ(message.mutable_##x(), &message.x());                                           \
    ExpectOnly(message, #x);                                                                  \
    message.clear_##x();                                                                      \
    EXPECT_EQ(message.x##_size(), 0);                                                         \
    ExpectNothing(message);                                                                   \
  }
#include "field_list.inc"
}

TEST(RepeatedMessageAccessors, AddReadAndClear){
#define REPEATED_MESSAGE_FIELD(M, x)                \
  {                                                 \
    SCOPED_TRACE(#M "." #x);                        \
    M message;                                      \
    EXPECT_EQ(message.x##_size(), 0);               \
    auto* const first = message.add_##x();          \
    auto* const second = message.add_##x();         \
    EXPECT_EQ(message.x##_size(), 2);               \
    EXPECT_EQ(&message.x(0), first);                \
    EXPECT_EQ(message.mutable_##x(1), second);      \
    EXPECT_EQ(&message.x().Get(1), second);         \
    EXPECT_EQ(message.mutable_##x(), &message.x()); \
    ExpectOnly(message, #x);                        \
    message.clear_##x();                            \
    EXPECT_EQ(message.x##_size(), 0);               \
    ExpectNothing(message);                         \
  }
#include "field_list.inc"
}

TEST(MapAccessors, InsertReadAndClear) {
#define MAP_FIELD(M, x)                             \
  {                                                 \
    SCOPED_TRACE(#M "." #x);                        \
    M message;                                      \
    EXPECT_EQ(message.x##_size(), 0);               \
    (*message.mutable_##x())[-1].set_int_value(7);  \
    EXPECT_EQ(message.x##_size(), 1);               \
    EXPECT_EQ(message.x().at(-1).int_value(), 7);   \
    EXPECT_EQ(message.mutable_##x(), &message.x()); \
    ExpectOnly(message, #x);                        \
    message.clear_##x();                            \
    EXPECT_EQ(message.x##_size(), 0);               \
    ExpectNothing(message);                         \
  }
#include "field_list.inc"
}

// Absent text and absent messages are read as the very object of the default instance.
template <class T>
bool IsDefault(const T& value, const T& default_value) {
  if constexpr (std::is_arithmetic_v<T>) {
    return value == default_value;
  } else {
    return &value == &default_value;
  }
}

// A member of a oneof behind its own accessors.
struct Member {
  const FieldDescriptor* field;
  const Message* prototype;
  int case_number;
  std::function<void(Message&)> set;
  std::function<bool(const Message&)> has;
  std::function<bool(const Message&)> reads_as_default;
  std::function<void(Message&)> clear;
  std::function<int(const Message&)> get_case;
  std::function<void(Message&)> clear_oneof;
};

template <class M>
M& As(Message& message) {
  return dynamic_cast<M&>(message);
}

template <class M>
const M& As(const Message& message) {
  return dynamic_cast<const M&>(message);
}

std::vector<Member> Members() {
  std::vector<Member> members;
#define MEMBER(M, g, x, kX, setter)                                                         \
  members.push_back({Field<M>(#x), &M::default_instance(), int{M::kX},                      \
                     [](Message& message) { setter; },                                      \
                     [](const Message& message) { return As<M>(message).has_##x(); },       \
                     [](const Message& message) {                                           \
                       return IsDefault(As<M>(message).x(), M::default_instance().x());     \
                     },                                                                     \
                     [](Message& message) { As<M>(message).clear_##x(); },                  \
                     [](const Message& message) { return int{As<M>(message).g##_case()}; }, \
                     [](Message& message) { As<M>(message).clear_##g(); }});
#define ONEOF_SCALAR(M, g, x, kX) MEMBER(M, g, x, kX, As<M>(message).set_##x(1))
#define ONEOF_STRING(M, g, x, kX) MEMBER(M, g, x, kX, As<M>(message).set_##x("text"))
#define ONEOF_MESSAGE(M, g, x, kX) MEMBER(M, g, x, kX, As<M>(message).mutable_##x())
#include "field_list.inc"
#undef MEMBER
  return members;
}

std::vector<Member> OthersOfTheOneof(const Member& member) {
  std::vector<Member> others;
  for (const Member& other : Members()) {
    if (other.field != member.field &&
        other.field->containing_oneof() == member.field->containing_oneof()) {
      others.push_back(other);
    }
  }
  return others;
}

TEST(OneofAccessors, SetTheCaseToTheNumberOfTheMember) {
  for (const Member& member : Members()) {
    SCOPED_TRACE(member.field->full_name());
    const std::unique_ptr<Message> message = NewOnHeap(*member.prototype);
    EXPECT_FALSE(member.has(*message));
    EXPECT_EQ(member.get_case(*message), 0);
    member.set(*message);
    EXPECT_TRUE(member.has(*message));
    EXPECT_EQ(member.get_case(*message), member.case_number);
    EXPECT_EQ(member.case_number, member.field->number());
    member.clear(*message);
    EXPECT_FALSE(member.has(*message));
    EXPECT_EQ(member.get_case(*message), 0);
    ExpectNothing(*message);
  }
}

TEST(OneofAccessors, ReplaceOneMemberByAnother) {
  for (const Member& member : Members()) {
    for (const Member& other : OthersOfTheOneof(member)) {
      SCOPED_TRACE(member.field->full_name() + " after " + other.field->full_name());
      const std::unique_ptr<Message> message = NewOnHeap(*member.prototype);
      other.set(*message);
      EXPECT_TRUE(member.reads_as_default(*message));
      member.set(*message);
      EXPECT_FALSE(other.has(*message));
      EXPECT_TRUE(other.reads_as_default(*message));
      EXPECT_TRUE(member.has(*message));
    }
  }
}

TEST(OneofAccessors, ClearAMemberOnlyIfItIsTheOneSet) {
  for (const Member& member : Members()) {
    for (const Member& other : OthersOfTheOneof(member)) {
      SCOPED_TRACE(member.field->full_name() + " beside " + other.field->full_name());
      const std::unique_ptr<Message> message = NewOnHeap(*member.prototype);
      member.set(*message);
      other.clear(*message);
      EXPECT_TRUE(member.has(*message));
    }
  }
}

TEST(OneofAccessors, ClearTheWholeOneof) {
  for (const Member& member : Members()) {
    SCOPED_TRACE(member.field->full_name());
    const std::unique_ptr<Message> message = NewOnHeap(*member.prototype);
    member.set(*message);
    member.clear_oneof(*message);
    EXPECT_EQ(member.get_case(*message), 0);
    ExpectNothing(*message);
  }
}

}  // namespace
}  // namespace contract
