#include <gtest/gtest.h>
#include <qmsg/config.pb.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "enums.h"
#include "fields.h"
#include "wire.h"

namespace {

using quor::protobuf::Config::Namespace;
using quor::protobuf::Config::Set;
using quor::protobuf::Config::Value;
using quor::protobuf::Config::Value_Type;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(ConfigFile, NumbersItsMessagesInTheOrderOfTheirDeclaration) {
  EXPECT_EQ(Value::kIndexInFileMessages, 0);
  EXPECT_EQ(Namespace::kIndexInFileMessages, 1);
  EXPECT_EQ(Set::kIndexInFileMessages, 2);
}

TEST(ConfigValue, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(Value, key), "0A", "quor.protobuf.Config.Value.key");
  ExpectField(PLAIN_NUMBER(Value, value_type, Value_Type), "10");
  ExpectField(ONEOF_NUMBER(Value, bool_value, bool), "18");
  ExpectField(ONEOF_NUMBER(Value, int_value, int64_t), "20");
  ExpectField(ONEOF_NUMBER(Value, uint_value, uint64_t), "28");
  ExpectField(ONEOF_TEXT(Value, string_value), "3A", "quor.protobuf.Config.Value.string_value");
  ExpectField(ONEOF_TEXT(Value, json_value), "42", "quor.protobuf.Config.Value.json_value");
}

TEST(ConfigNamespace, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(Namespace, name), "0A", "quor.protobuf.Config.Namespace.name");
  ExpectField(LIST(Namespace, values, Value), "12");
}

TEST(ConfigSet, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(Set, id, uint32_t), "08");
  ExpectField(LIST(Set, namespaces, Namespace), "12");
}

TEST(ConfigValue, HasSevenTypes) {
  ExpectEnum(NESTED_ENUM(quor::protobuf::Config, Value, Type), "quor.protobuf.Config.Value.Type",
             {{"NONE", Value::NONE},
              {"BOOL", Value::BOOL},
              {"INT", Value::INT},
              {"UINT", Value::UINT},
              {"DOUBLE", Value::DOUBLE},
              {"STRING", Value::STRING},
              {"JSON", Value::JSON}});
}

TEST(ConfigValue, NamesTheCasesOfItsOneofByTheFieldNumbers) {
  EXPECT_EQ((std::vector<int>{Value::VALUE_NOT_SET, Value::kBoolValue, Value::kIntValue,
                              Value::kUintValue, Value::kDoubleValue, Value::kStringValue,
                              Value::kJsonValue}),
            (std::vector<int>{0, 3, 4, 5, 6, 7, 8}));
}

TEST(ConfigValue, IsWrittenAsTheBytesWorkedOutByHand) {
  Value value;
  value.set_key("k");
  EXPECT_EQ(value.value_case(), Value::VALUE_NOT_SET);
  ExpectBytes(value, "0A 01 6B");

  value.set_value_type(Value::BOOL);
  value.set_bool_value(true);
  EXPECT_EQ(value.value_case(), Value::kBoolValue);
  ExpectBytes(value, "0A 01 6B 10 01 18 01");

  value.set_value_type(Value::INT);
  value.set_int_value(-2);
  EXPECT_EQ(value.value_case(), Value::kIntValue);
  ExpectBytes(value, "0A 01 6B 10 02 20 FE FF FF FF FF FF FF FF FF 01");

  value.set_value_type(Value::UINT);
  value.set_uint_value(300);
  EXPECT_EQ(value.value_case(), Value::kUintValue);
  ExpectBytes(value, "0A 01 6B 10 03 28 AC 02");

  value.set_value_type(Value::DOUBLE);
  value.set_double_value(1.5);
  EXPECT_EQ(value.value_case(), Value::kDoubleValue);
  ExpectBytes(value, "0A 01 6B 10 04 31 00 00 00 00 00 00 F8 3F");

  value.set_value_type(Value::STRING);
  value.set_string_value("on");
  EXPECT_EQ(value.value_case(), Value::kStringValue);
  ExpectBytes(value, "0A 01 6B 10 05 3A 02 6F 6E");

  value.set_value_type(Value::JSON);
  value.set_json_value("[]");
  EXPECT_EQ(value.value_case(), Value::kJsonValue);
  ExpectBytes(value, "0A 01 6B 10 06 42 02 5B 5D");
}

TEST(ConfigNamespace, IsWrittenAsTheBytesWorkedOutByHand) {
  Namespace group;
  group.set_name("n");
  Value* const value = group.add_values();
  value->set_key("k");
  value->set_value_type(Value::UINT);
  value->set_uint_value(7);
  ExpectBytes(group,
              "0A 01 6E"
              "12 07 0A 01 6B 10 03 28 07");
}

TEST(ConfigSet, IsWrittenAsTheBytesWorkedOutByHand) {
  Set set;
  set.set_id(5);
  Namespace* const group = set.add_namespaces();
  group->set_name("n");
  group->add_values()->set_key("k");
  set.add_namespaces()->set_name("o");
  ExpectBytes(set,
              "08 05"
              "12 08 0A 01 6E 12 03 0A 01 6B"
              "12 03 0A 01 6F");
}

TEST(ConfigValue, WritesAFalseThatIsSet) {
  Value value;
  value.set_bool_value(false);
  EXPECT_EQ(Hex(value), "18 00");
  const auto read = Parse<Value>("18 00");
  EXPECT_EQ(read.value_case(), Value::kBoolValue);
  EXPECT_TRUE(read.has_bool_value());
  EXPECT_FALSE(read.bool_value());
}

TEST(ConfigValue, WritesAZeroDoubleThatIsSet) {
  Value value;
  value.set_double_value(0.0);
  EXPECT_EQ(Hex(value), "31 00 00 00 00 00 00 00 00");
  const auto read = Parse<Value>("31 00 00 00 00 00 00 00 00");
  EXPECT_EQ(read.value_case(), Value::kDoubleValue);
  EXPECT_TRUE(read.has_double_value());
  value.clear_double_value();
  EXPECT_EQ(value.value_case(), Value::VALUE_NOT_SET);
}

TEST(ConfigValue, KeepsTheSignOfANegativeZero) {
  Value value;
  value.set_double_value(-0.0);
  EXPECT_EQ(Hex(value), "31 00 00 00 00 00 00 00 80");
  EXPECT_TRUE(std::signbit(Parse<Value>("31 00 00 00 00 00 00 00 80").double_value()));
}

TEST(ConfigValue, KeepsATypeWithoutAMember) {
  Value value;
  value.set_value_type(Value::INT);
  EXPECT_EQ(Hex(value), "10 02");
  const auto read = Parse<Value>("10 02");
  EXPECT_EQ(read.value_type(), Value::INT);
  EXPECT_EQ(read.value_case(), Value::VALUE_NOT_SET);
  EXPECT_EQ(read.int_value(), 0);
}

TEST(ConfigValue, NeitherSetsTheTypeFromAMemberNorAMemberFromTheType) {
  Value value;
  value.set_string_value("a");
  EXPECT_EQ(value.value_type(), Value::NONE);
  value.set_value_type(Value::BOOL);
  EXPECT_EQ(value.value_case(), Value::kStringValue);
  ExpectBytes(value, "10 01 3A 01 61");
  value.clear_value();
  EXPECT_EQ(value.value_type(), Value::BOOL);
  EXPECT_EQ(value.value_case(), Value::VALUE_NOT_SET);
  EXPECT_EQ(Hex(value), "10 01");
}

TEST(ConfigValue, KeepsAnUndeclaredType) {
  const auto value = Parse<Value>("10 07");
  EXPECT_EQ(static_cast<int>(value.value_type()), 7);
  EXPECT_FALSE(quor::protobuf::Config::Value_Type_IsValid(7));
  EXPECT_EQ(Hex(value), "10 07");
}

TEST(ConfigNamespace, KeepsTwoValuesOfOneKeyInOrder) {
  Namespace group;
  for (const int64_t number : {2, 1}) {
    Value* const value = group.add_values();
    value->set_key("k");
    value->set_int_value(number);
  }
  const std::string bytes = "12 05 0A 01 6B 20 02 12 05 0A 01 6B 20 01";
  EXPECT_EQ(Hex(group), bytes);
  const auto read = Parse<Namespace>(bytes);
  ASSERT_EQ(read.values_size(), 2);
  EXPECT_EQ(read.values(0).key(), "k");
  EXPECT_EQ(read.values(0).int_value(), 2);
  EXPECT_EQ(read.values(1).key(), "k");
  EXPECT_EQ(read.values(1).int_value(), 1);
}

}  // namespace
