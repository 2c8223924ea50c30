#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>

#include <string>

#include "support/hex_bytes.h"

namespace messages::quorphp {
namespace {

using quor::protobuf::QuorPHP::QuorArray;
using quor::protobuf::QuorPHP::QuorArrayValue;
using wire::Hex;
using wire::Parse;

TEST(QuorArrayValue, WritesAKeyThatIsSetToItsDefault) {
  QuorArrayValue element;
  element.set_int_key(0);
  EXPECT_EQ(Hex(element), "10 00");
  EXPECT_EQ(Parse<QuorArrayValue>("10 00").key_case(), QuorArrayValue::kIntKey);
  element.set_string_key("");
  EXPECT_FALSE(element.has_int_key());
  EXPECT_EQ(Hex(element), "0A 00");
  EXPECT_EQ(Parse<QuorArrayValue>("0A 00").key_case(), QuorArrayValue::kStringKey);
  element.clear_key();
  EXPECT_EQ(Hex(element), "");
}

TEST(QuorArrayValue, TellsAnEmptyValueFromAnAbsentOne) {
  EXPECT_TRUE(Parse<QuorArrayValue>("10 01 1A 00").has_value());
  EXPECT_FALSE(Parse<QuorArrayValue>("10 01").has_value());
}

TEST(QuorArrayValue, ReplacesTheKeyAndMergesTheValue) {
  auto target = Parse<QuorArrayValue>("0A 01 61 1A 05 08 03 1A 01 62");
  target.MergeFrom(Parse<QuorArrayValue>("10 00 1A 02 08 01"));
  EXPECT_EQ(Hex(target), "10 00 1A 05 08 01 1A 01 62");
  target.MergeFrom(Parse<QuorArrayValue>("0A 00"));
  EXPECT_EQ(Hex(target), "0A 00 1A 05 08 01 1A 01 62");
  QuorArrayValue without_value;
  without_value.MergeFrom(target);
  EXPECT_EQ(Hex(without_value), "0A 00 1A 05 08 01 1A 01 62");
}

TEST(QuorArray, KeepsRepeatedKeysInOrder) {
  QuorArray array;
  array.add_values()->set_string_key("a");
  array.add_values()->set_int_key(0);
  array.add_values()->set_string_key("a");
  const std::string bytes = "0A 03 0A 01 61 0A 02 10 00 0A 03 0A 01 61";
  EXPECT_EQ(Hex(array), bytes);
  const auto read = Parse<QuorArray>(bytes);
  ASSERT_EQ(read.values_size(), 3);
  EXPECT_EQ(read.values(0).string_key(), "a");
  EXPECT_EQ(read.values(1).key_case(), QuorArrayValue::kIntKey);
  EXPECT_EQ(read.values(2).string_key(), "a");
}

TEST(QuorArray, AppendsCopiesWhenMerged) {
  auto target = Parse<QuorArray>("0A 02 10 02 0A 02 10 01");
  auto source = Parse<QuorArray>("0A 02 10 01 0A 00");
  target.MergeFrom(source);
  source.mutable_values(0)->set_int_key(9);
  EXPECT_EQ(Hex(target), "0A 02 10 02 0A 02 10 01 0A 02 10 01 0A 00");
  EXPECT_EQ(Hex(QuorArray(target)), Hex(target));
}

}  // namespace
}  // namespace messages::quorphp
