// The functions and constants of the six enums, those of the class and those of its namespace.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "support/message_list.h"
#include "support/prototypes.h"

namespace contract {
namespace {

struct Value {
  std::string name;
  int in_class;
  int in_namespace;
};

// Where there are two of a kind, the first is the class's.
struct Enum {
  std::string full_name;
  std::vector<const google::protobuf::EnumDescriptor*> descriptors;
  std::vector<bool (*)(int)> is_valid;
  std::vector<int> min;
  std::vector<int> max;
  std::vector<int> array_size;
  // Whether the name is one, and if so its number.
  std::vector<std::function<bool(const std::string&, int&)>> parse;
  std::vector<std::function<std::string(int)>> name;
  // By number, from 0 on.
  std::vector<Value> values;
};

template <class E>
std::function<bool(const std::string&, int&)> Parser(
    bool (*parse)(google::protobuf::ConstStringParam, E*)) {
  return [parse](const std::string& name, int& number) {
    E value{};
    const bool found = parse(name, &value);
    number = value;
    return found;
  };
}

#define FUNCTIONS(M, E)                                                                 \
  M::descriptor()->full_name() + "." #E, {M::E##_descriptor(), M##_##E##_descriptor()}, \
      {M::E##_IsValid, M##_##E##_IsValid}, {int{M::E##_MIN}, int{M##_##E##_##E##_MIN}}, \
      {int{M::E##_MAX}, int{M##_##E##_##E##_MAX}},                                      \
      {int{M::E##_ARRAYSIZE}, int{M##_##E##_##E##_ARRAYSIZE}},                          \
      {Parser<M::E>(M::E##_Parse), Parser<M::E>(M##_##E##_Parse)}, {                    \
    [](int value) { return M::E##_Name(static_cast<M::E>(value)); },                    \
        [](int value) { return M##_##E##_Name(static_cast<M::E>(value)); }              \
  }
#define VALUE(M, E, name)                          \
  {                                                \
#name, int{M::name }, int { M##_##E##_##name } \
  }

std::vector<Enum> Enums() {
  return {
      {FUNCTIONS(CT::Header, DumpReason),
       {VALUE(CT::Header, DumpReason, USER), VALUE(CT::Header, DumpReason, EVENT),
        VALUE(CT::Header, DumpReason, REQUEST)}},
      {FUNCTIONS(Config::Value, Type),
       {VALUE(Config::Value, Type, NONE), VALUE(Config::Value, Type, BOOL),
        VALUE(Config::Value, Type, INT), VALUE(Config::Value, Type, UINT),
        VALUE(Config::Value, Type, DOUBLE), VALUE(Config::Value, Type, STRING),
        VALUE(Config::Value, Type, JSON)}},
      {FUNCTIONS(Monitor::Event, EventType),
       {VALUE(Monitor::Event, EventType, SlowFunctionExecution),
        VALUE(Monitor::Event, EventType, FunctionError),
        VALUE(Monitor::Event, EventType, SlowRequestExecution),
        VALUE(Monitor::Event, EventType, HighMemoryUsage),
        VALUE(Monitor::Event, EventType, PhpError), VALUE(Monitor::Event, EventType, CustomEvent)}},
      {FUNCTIONS(QuorPHP::QVal, Type),
       {VALUE(QuorPHP::QVal, Type, UNDEF), VALUE(QuorPHP::QVal, Type, NUL),
        VALUE(QuorPHP::QVal, Type, BOOL), VALUE(QuorPHP::QVal, Type, STRING),
        VALUE(QuorPHP::QVal, Type, INTEGER), VALUE(QuorPHP::QVal, Type, DOUBLE),
        VALUE(QuorPHP::QVal, Type, JSON), VALUE(QuorPHP::QVal, Type, TIMESTAMP)}},
      {FUNCTIONS(Tarq::Function, FunctionType),
       {VALUE(Tarq::Function, FunctionType, INTERNAL), VALUE(Tarq::Function, FunctionType, USER)}},
      {FUNCTIONS(Tarq::Error, Severity),
       {VALUE(Tarq::Error, Severity, EXCEPTION), VALUE(Tarq::Error, Severity, NOTICE),
        VALUE(Tarq::Error, Severity, WARNING), VALUE(Tarq::Error, Severity, ERROR)}},
  };
}

template <class Check>
void ForEachEnum(const Check& check) {
  for (const Enum& each : Enums()) {
    SCOPED_TRACE(each.full_name);
    check(each, static_cast<int>(each.values.size()));
  }
}

TEST(Enum, IsTestedForEachOneThatIsDeclared) {
  std::vector<std::string> declared;
  for (const Message* prototype : Prototypes()) {
    for (int i = 0; i < prototype->GetDescriptor()->enum_type_count(); ++i) {
      declared.push_back(prototype->GetDescriptor()->enum_type(i)->full_name());
    }
  }
  std::vector<std::string> tested;
  ForEachEnum([&](const Enum& each, int) { tested.push_back(each.full_name); });
  EXPECT_EQ(tested, declared);
}

TEST(Enum, HasItsConstantsInTheClassAndInTheNamespace) {
  ForEachEnum([](const Enum& each, int count) {
    for (int number = 0; number < count; ++number) {
      const Value& value = each.values[static_cast<std::size_t>(number)];
      EXPECT_EQ(value.in_class, number) << value.name;
      EXPECT_EQ(value.in_namespace, number) << value.name;
    }
  });
}

TEST(Enum, HasTheDescriptorOfThePool) {
  ForEachEnum([](const Enum& each, int count) {
    const google::protobuf::EnumDescriptor* pooled =
        google::protobuf::DescriptorPool::generated_pool()->FindEnumTypeByName(each.full_name);
    ASSERT_NE(pooled, nullptr);
    EXPECT_EQ(pooled->value_count(), count);
    for (const google::protobuf::EnumDescriptor* descriptor : each.descriptors) {
      EXPECT_EQ(descriptor, pooled);
    }
  });
}

TEST(Enum, RangesFromZeroToItsLastValue) {
  ForEachEnum([](const Enum& each, int count) {
    EXPECT_EQ(each.min, (std::vector<int>{0, 0}));
    EXPECT_EQ(each.max, (std::vector<int>{count - 1, count - 1}));
    EXPECT_EQ(each.array_size, (std::vector<int>{count, count}));
  });
}

TEST(Enum, AcceptsExactlyTheDeclaredValuesAsValid) {
  ForEachEnum([](const Enum& each, int count) {
    for (bool (*const is_valid)(int) : each.is_valid) {
      for (int number = -2; number < count + 2; ++number) {
        EXPECT_EQ(is_valid(number), number >= 0 && number < count) << number;
      }
      EXPECT_FALSE(is_valid(std::numeric_limits<int>::min()));
      EXPECT_FALSE(is_valid(std::numeric_limits<int>::max()));
      EXPECT_FALSE(is_valid(256));  // not cut down to a byte
    }
  });
}

TEST(Enum, KnowsTheNamesOfItsValues) {
  ForEachEnum([](const Enum& each, int count) {
    for (const auto& name : each.name) {
      for (int number = 0; number < count; ++number) {
        EXPECT_EQ(name(number), each.values[static_cast<std::size_t>(number)].name);
      }
      EXPECT_EQ(name(count), "");
      EXPECT_EQ(name(-1), "");
    }
  });
}

TEST(Enum, ParsesExactlyTheNamesOfItsValues) {
  ForEachEnum([](const Enum& each, int) {
    for (const auto& parse : each.parse) {
      int number = -1;
      for (const Value& value : each.values) {
        EXPECT_TRUE(parse(value.name, number)) << value.name;
        EXPECT_EQ(number, value.in_class) << value.name;

        std::string other_case = value.name;
        const char last = other_case.back();
        other_case.back() = static_cast<char>(last >= 'a' ? last - 'a' + 'A' : last - 'A' + 'a');
        for (const std::string& wrong :
             {other_case, value.name + "S", ' ' + value.name, value.name + ' ',
              value.name.substr(0, value.name.size() - 1), each.full_name + '.' + value.name,
              std::to_string(value.in_class)}) {
          EXPECT_FALSE(parse(wrong, number)) << wrong;
        }
      }
      EXPECT_FALSE(parse("", number));
    }
  });
}

}  // namespace
}  // namespace contract
