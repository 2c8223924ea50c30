// What every nested enum promises, checked through its functions and constants, those of the
// class and the free ones.
#ifndef QMSG_TESTS_MESSAGES_ENUMS_H
#define QMSG_TESTS_MESSAGES_ENUMS_H

#include <google/protobuf/descriptor.h>
#include <google/protobuf/port.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace enums {

template <typename E>
struct Functions {
  bool (*is_valid)(int);
  const google::protobuf::EnumDescriptor* (*descriptor)();
  const std::string& (*name)(E);
  bool (*parse)(google::protobuf::ConstStringParam, E*);
};

template <typename E>
struct Enum {
  Functions<E> of_class;
  Functions<E> free;
  E min;
  E max;
  int array_size;
};

#define NESTED_ENUM(package, M, E)                                                          \
  (enums::Enum<package::M##_##E>{                                                           \
      {&M::E##_IsValid, &M::E##_descriptor, &M::E##_Name<package::M##_##E>, &M::E##_Parse}, \
      {&package::M##_##E##_IsValid, &package::M##_##E##_descriptor,                         \
       &package::M##_##E##_Name<package::M##_##E>, &package::M##_##E##_Parse},              \
      M::E##_MIN,                                                                           \
      M::E##_MAX,                                                                           \
      M::E##_ARRAYSIZE})

template <typename E>
struct Value {
  const char* name;
  E value;
};

template <typename E>
void ExpectFunctions(const Functions<E>& functions, const std::string& full_name,
                     const std::vector<Value<E>>& values) {
  EXPECT_EQ(functions.descriptor()->full_name(), full_name);
  int number = 0;
  for (const auto& [name, value] : values) {
    EXPECT_TRUE(functions.is_valid(number)) << number;
    EXPECT_EQ(functions.name(value), name);
    auto parsed = static_cast<E>(-1);
    EXPECT_TRUE(functions.parse(name, &parsed)) << name;
    EXPECT_EQ(parsed, value) << name;
    ++number;
  }
  EXPECT_FALSE(functions.is_valid(-1));
  EXPECT_FALSE(functions.is_valid(number));
  E untouched = values[0].value;
  EXPECT_FALSE(functions.parse("", &untouched));
  EXPECT_FALSE(functions.parse(std::string(values[0].name) + " ", &untouched));
  EXPECT_FALSE(functions.parse("nothing", &untouched));
}

// The values, in order, are 0, 1, 2 and so on, and there are no others.
template <typename E>
void ExpectEnum(const Enum<E>& of, const std::string& full_name,
                const std::vector<Value<E>>& values) {
  const int count = static_cast<int>(values.size());
  for (int number = 0; number < count; ++number) {
    EXPECT_EQ(static_cast<int>(values[static_cast<unsigned>(number)].value), number);
  }
  EXPECT_EQ(static_cast<int>(of.min), 0);
  EXPECT_EQ(static_cast<int>(of.max), count - 1);
  EXPECT_EQ(of.array_size, count);
  ExpectFunctions(of.of_class, full_name, values);
  ExpectFunctions(of.free, full_name, values);
}

}  // namespace enums

#endif
