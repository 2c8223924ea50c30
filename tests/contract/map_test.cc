// The one map of the schema: AttrList.attr_list, from numbers to values.

#include <gtest/gtest.h>
#include <qmsg/jobqueue.pb.h>

#include "support/prototypes.h"

namespace contract {
namespace {

using namespace std::string_literals;
using quor::protobuf::JQ::AttrList;

TEST(Map, IsWrittenByAscendingSignedKeyWhenDeterministic) {
  const std::string expected =
      "\x0a\x0f\x08\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01\x12\x02\x20\x01"
      "\x0a\x06\x08\x03\x12\x02\x20\x02"
      "\x0a\x06\x08\x05\x12\x02\x20\x03"s;
  for (const auto& order : {std::vector<int>{-1, 3, 5}, {5, 3, -1}, {3, 5, -1}}) {
    AttrList list;
    for (const int key : order) {
      (*list.mutable_attr_list())[key].set_int_value(key < 0 ? 1 : key == 3 ? 2 : 3);
    }
    EXPECT_EQ(DeterministicBytes(list), expected);
  }
}

TEST(Map, ReadsAPairWithoutAKeyUnderZero) {
  AttrList list;
  ASSERT_TRUE(list.ParseFromString("\x0a\x04\x12\x02\x20\x05"s));
  ASSERT_EQ(list.attr_list_size(), 1);
  EXPECT_EQ(list.attr_list().at(0).int_value(), 5);
  EXPECT_EQ(DeterministicBytes(list), "\x0a\x06\x08\x00\x12\x02\x20\x05"s);
}

TEST(Map, ReadsAPairWithoutAValueAsAnEmptyOne) {
  AttrList list;
  ASSERT_TRUE(list.ParseFromString("\x0a\x02\x08\x07"s));
  ASSERT_EQ(list.attr_list_size(), 1);
  EXPECT_EQ(list.attr_list().at(7).value_case(), quor::protobuf::QuorPHP::QVal::VALUE_NOT_SET);
  EXPECT_EQ(DeterministicBytes(list), "\x0a\x04\x08\x07\x12\x00"s);
}

TEST(Map, TakesTheValueOfTheSourceWhenMerged) {
  AttrList target;
  (*target.mutable_attr_list())[1].set_int_value(1);
  (*target.mutable_attr_list())[2].set_value_type(quor::protobuf::QuorPHP::QVal::BOOL);
  AttrList source;
  (*source.mutable_attr_list())[2].set_int_value(2);
  target.MergeFrom(source);
  EXPECT_EQ(DeterministicBytes(target),
            "\x0a\x06\x08\x01\x12\x02\x20\x01\x0a\x06\x08\x02\x12\x02\x20\x02"s);
}

}  // namespace
}  // namespace contract
