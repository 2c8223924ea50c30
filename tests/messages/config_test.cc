#include <gtest/gtest.h>
#include <qmsg/config.pb.h>

#include <cmath>
#include <cstdint>
#include <string>

#include "support/hex_bytes.h"

namespace messages::config {
namespace {

using quor::protobuf::Config::Namespace;
using quor::protobuf::Config::Set;
using quor::protobuf::Config::Value;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

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
}  // namespace messages::config
