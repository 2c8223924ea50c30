// What every field of a kind promises, checked through its accessors. A row of a test gives the
// field, its type and its tag:
//
//   ExpectField(PLAIN_NUMBER(Function, times_called, uint32_t), "18");
//
// Accessors are named after their field, so only a macro can list them.
#ifndef QMSG_TESTS_MESSAGES_FIELDS_H
#define QMSG_TESTS_MESSAGES_FIELDS_H

#include <google/protobuf/arena.h>
#include <google/protobuf/repeated_field.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "wire.h"

namespace fields {

template <typename M, typename T>
struct Number {
  const char* name;
  bool is_oneof_member;
  bool has_presence;
  void (M::*set)(T);
  T (M::*get)() const;
  void (M::*clear)();
};

template <typename M>
struct Text {
  const char* name;
  bool is_oneof_member;
  bool has_presence;
  void (*set)(M*, const std::string&);
  const std::string& (M::*get)() const;
  std::string* (M::*mutate)();
  std::string* (M::*release)();
  void (M::*set_allocated)(std::string*);
  void (M::*clear)();
};

template <typename M, typename T>
struct SubMessage {
  const char* name;
  bool (M::*has)() const;
  const T& (M::*get)() const;
  T* (M::*mutate)();
  T* (M::*release)();
  void (M::*set_allocated)(T*);
  T* (M::*unsafe_arena_release)();
  void (M::*unsafe_arena_set_allocated)(T*);
  void (M::*clear)();
};

template <typename M, typename T>
struct List {
  const char* name;
  int (M::*size)() const;
  const T& (M::*at)(int) const;
  T* (M::*mutate_at)(int);
  T* (M::*add)();
  const google::protobuf::RepeatedPtrField<T>& (M::*all)() const;
  google::protobuf::RepeatedPtrField<T>* (M::*mutate_all)();
  void (M::*clear)();
};

template <typename M>
struct TextList {
  List<M, std::string> list;
  void (M::*set_copy)(int, const std::string&);
  void (M::*set_moved)(int, std::string&&);
  void (M::*set_c_string)(int, const char*);
  void (M::*set_length)(int, const char*, std::size_t);
  void (M::*add_copy)(const std::string&);
  void (M::*add_moved)(std::string&&);
  void (M::*add_c_string)(const char*);
  void (M::*add_length)(const char*, std::size_t);
};

// Whether the class has the accessor that the function calls.
template <typename M, typename Call>
constexpr bool Compiles(Call /*call*/) {
  return std::is_invocable_v<Call, const M&>;
}

#define HAS_PRESENCE(M, field) \
  fields::Compiles<M>([](const auto& m) -> decltype(m.has_##field()) { return m.has_##field(); })

#define NUMBER(M, field, T, is_oneof_member)                                                     \
  (fields::Number<M, T>{#M "." #field, is_oneof_member, HAS_PRESENCE(M, field), &M::set_##field, \
                        &M::field, &M::clear_##field})
#define PLAIN_NUMBER(M, field, T) NUMBER(M, field, T, false)
#define ONEOF_NUMBER(M, field, T) NUMBER(M, field, T, true)

#define TEXT(M, field, is_oneof_member)                                                       \
  (fields::Text<M>{#M "." #field, is_oneof_member, HAS_PRESENCE(M, field),                    \
                   [](auto* m, const std::string& text) { m->set_##field(text); }, &M::field, \
                   &M::mutable_##field, &M::release_##field, &M::set_allocated_##field,       \
                   &M::clear_##field})
#define PLAIN_TEXT(M, field) TEXT(M, field, false)
#define ONEOF_TEXT(M, field) TEXT(M, field, true)

#define SUB_MESSAGE(M, field, T)                                                            \
  (fields::SubMessage<M, T>{#M "." #field, &M::has_##field, &M::field, &M::mutable_##field, \
                            &M::release_##field, &M::set_allocated_##field,                 \
                            &M::unsafe_arena_release_##field,                               \
                            &M::unsafe_arena_set_allocated_##field, &M::clear_##field})

#define LIST(M, field, T)                                                              \
  (fields::List<M, T>{#M "." #field, &M::field##_size, &M::field, &M::mutable_##field, \
                      &M::add_##field, &M::field, &M::mutable_##field, &M::clear_##field})

#define TEXT_LIST(M, field)                                                                \
  (fields::TextList<M>{LIST(M, field, std::string), &M::set_##field, &M::set_##field,      \
                       &M::set_##field, &M::set_##field, &M::add_##field, &M::add_##field, \
                       &M::add_##field, &M::add_##field})

// The value of a type whose varint is the longest, and that varint.
template <typename T>
std::pair<T, std::string> Longest() {
  if constexpr (std::is_same_v<T, bool>) {
    return {true, "01"};
  } else if constexpr (std::is_same_v<T, uint32_t>) {
    return {4294967295U, "FF FF FF FF 0F"};
  } else {
    return {static_cast<T>(-1), wire::kAllOnes};
  }
}

template <typename M, typename T>
void ExpectField(const Number<M, T>& field, const std::string& tag) {
  SCOPED_TRACE(field.name);
  EXPECT_EQ(field.has_presence, field.is_oneof_member);
  const auto [value, varint] = Longest<T>();
  M message;
  (message.*field.set)(value);
  EXPECT_EQ((message.*field.get)(), value);
  wire::ExpectBytes(message, tag + varint);
  EXPECT_EQ((wire::Parse<M>(tag + varint).*field.get)(), value);

  (message.*field.set)(T{});
  EXPECT_EQ(wire::Hex(message), field.is_oneof_member ? tag + " 00" : "");
  (message.*field.clear)();
  EXPECT_EQ(wire::Hex(message), "");
  EXPECT_EQ((message.*field.get)(), T{});
}

template <typename M>
void ExpectField(const Text<M>& field, const std::string& tag, const std::string& full_name) {
  SCOPED_TRACE(field.name);
  EXPECT_EQ(field.has_presence, field.is_oneof_member);
  M message;
  field.set(&message, "a");
  EXPECT_EQ((message.*field.get)(), "a");
  wire::ExpectBytes(message, tag + "01 61");
  EXPECT_EQ((wire::Parse<M>(tag + "01 61" + tag + "01 62").*field.get)(), "b");

  field.set(&message, "");
  EXPECT_EQ(wire::Hex(message), field.is_oneof_member ? tag + " 00" : "");

  *(message.*field.mutate)() = "cd";
  wire::ExpectBytes(message, tag + "02 63 64");
  const std::unique_ptr<std::string> released((message.*field.release)());
  EXPECT_EQ(*released, "cd");
  EXPECT_EQ(wire::Hex(message), "");

  (message.*field.set_allocated)(std::make_unique<std::string>("e").release());
  wire::ExpectBytes(message, tag + "01 65");
  (message.*field.set_allocated)(nullptr);
  EXPECT_EQ(wire::Hex(message), "");

  field.set(&message, "f");
  (message.*field.clear)();
  EXPECT_EQ(wire::Hex(message), "");

  field.set(&message, "\xFF");
  wire::ExpectInvalidTextIsWrittenButNotRead(message, tag + "01 FF", full_name);
}

template <typename M, typename T>
void ExpectField(const SubMessage<M, T>& field, const std::string& tag) {
  SCOPED_TRACE(field.name);
  M message;
  EXPECT_FALSE((message.*field.has)());
  EXPECT_EQ(&(message.*field.get)(), &T::default_instance());
  EXPECT_EQ(wire::Hex(message), "");

  T* const present = (message.*field.mutate)();
  EXPECT_TRUE((message.*field.has)());
  EXPECT_EQ(&(message.*field.get)(), present);
  wire::ExpectBytes(message, tag + "00");
  EXPECT_TRUE((wire::Parse<M>(tag + "00").*field.has)());

  std::unique_ptr<T> released((message.*field.release)());
  EXPECT_EQ(released.get(), present);
  EXPECT_FALSE((message.*field.has)());
  (message.*field.set_allocated)(released.release());
  EXPECT_EQ(&(message.*field.get)(), present);
  (message.*field.clear)();
  EXPECT_FALSE((message.*field.has)());

  google::protobuf::Arena arena;
  auto* const on_arena = google::protobuf::Arena::CreateMessage<M>(&arena);
  T* const of_arena = (on_arena->*field.mutate)();
  EXPECT_EQ((on_arena->*field.unsafe_arena_release)(), of_arena);
  EXPECT_FALSE((on_arena->*field.has)());
  (on_arena->*field.unsafe_arena_set_allocated)(of_arena);
  EXPECT_EQ(&(on_arena->*field.get)(), of_arena);
  const std::unique_ptr<T> copy((on_arena->*field.release)());
  EXPECT_NE(copy.get(), of_arena);
  EXPECT_FALSE((on_arena->*field.has)());
}

template <typename M, typename T>
void ExpectField(const List<M, T>& field, const std::string& tag) {
  SCOPED_TRACE(field.name);
  M message;
  T* const first = (message.*field.add)();
  EXPECT_EQ((message.*field.size)(), 1);
  EXPECT_EQ(&(message.*field.at)(0), first);
  EXPECT_EQ((message.*field.mutate_at)(0), first);
  T* const second = (message.*field.mutate_all)()->Add();
  EXPECT_EQ(&(message.*field.all)().Get(1), second);
  wire::ExpectBytes(message, tag + "00" + tag + "00");
  EXPECT_EQ((wire::Parse<M>(tag + "00" + tag + "00").*field.size)(), 2);

  (message.*field.clear)();
  EXPECT_EQ((message.*field.size)(), 0);
  EXPECT_EQ(wire::Hex(message), "");
  EXPECT_EQ((message.*field.add)(), first) << "an element was not kept for reuse";
}

template <typename M>
void ExpectField(const TextList<M>& field, const std::string& tag, const std::string& full_name) {
  ExpectField(field.list, tag);
  SCOPED_TRACE(field.list.name);
  const std::string copied = "a";
  std::string moved = "b";
  M message;
  (message.*field.add_copy)(copied);
  (message.*field.add_moved)(std::move(moved));
  (message.*field.add_c_string)("c");
  (message.*field.add_length)("de", 1);
  wire::ExpectBytes(message, tag + "01 61" + tag + "01 62" + tag + "01 63" + tag + "01 64");

  moved = "x";
  (message.*field.set_copy)(3, copied);
  (message.*field.set_moved)(2, std::move(moved));
  (message.*field.set_c_string)(1, "y");
  (message.*field.set_length)(0, "zz", 2);
  wire::ExpectBytes(message, tag + "02 7A 7A" + tag + "01 79" + tag + "01 78" + tag + "01 61");

  M invalid;
  (invalid.*field.add_c_string)("a");
  (invalid.*field.add_c_string)("\xFF");
  wire::ExpectInvalidTextIsWrittenButNotRead(invalid, tag + "01 61" + tag + "01 FF", full_name);
}

}  // namespace fields

#endif
