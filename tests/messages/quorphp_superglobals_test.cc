#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>

#include "support/hex_bytes.h"

namespace messages::quorphp {
namespace {

using quor::protobuf::QuorPHP::QVal;
using quor::protobuf::QuorPHP::StackTraceFrame;
using quor::protobuf::QuorPHP::SuperglobalValue;
using quor::protobuf::QuorPHP::SuperglobalVariable;
using wire::ExpectBytes;
using wire::ExpectComplaint;
using wire::Hex;
using wire::Parse;

TEST(SuperglobalVariable, IsWrittenAsTheBytesWorkedOutByHand) {
  SuperglobalVariable variable;
  variable.set_name("_GET");
  SuperglobalValue* const entry = variable.add_values();
  entry->set_key("k");
  entry->mutable_value()->set_value_type(QVal::NUL);
  variable.add_values()->set_key("l");
  ExpectBytes(variable,
              "0A 04 5F 47 45 54"
              "12 07 0A 01 6B 12 02 08 01"
              "12 03 0A 01 6C");
}

TEST(SuperglobalValue, WritesAKeyAloneAndAnEmptyOldValueAfterIt) {
  SuperglobalValue entry;
  entry.set_key("a");
  EXPECT_EQ(Hex(entry), "0A 01 61");
  entry.mutable_old_value();
  EXPECT_EQ(Hex(entry), "0A 01 61 1A 00");
}

TEST(SuperglobalValue, KeepsAnOldValueWithoutAValue) {
  SuperglobalValue entry;
  entry.mutable_old_value()->set_value_type(QVal::NUL);
  EXPECT_EQ(Hex(entry), "1A 02 08 01");
  const auto read = Parse<SuperglobalValue>("1A 02 08 01");
  EXPECT_FALSE(read.has_value());
  EXPECT_TRUE(read.has_old_value());
  EXPECT_EQ(read.old_value().value_type(), QVal::NUL);
  EXPECT_EQ(Hex(read), "1A 02 08 01");
}

TEST(SuperglobalValue, TellsAnEmptyValueFromAnAbsentOne) {
  EXPECT_TRUE(Parse<SuperglobalValue>("0A 01 61 12 00").has_value());
  EXPECT_FALSE(Parse<SuperglobalValue>("0A 01 61").has_value());
}

TEST(SuperglobalValue, IsNotReadIfAValueInItIsNotUtf8) {
  LogRecorder log;
  SuperglobalValue entry;
  EXPECT_FALSE(entry.ParseFromString(wire::Bytes("0A 01 61 1A 03 1A 01 FF")));
  ExpectComplaint(log.Take(), "quor.protobuf.QuorPHP.QVal.string_value", "parsing");
  EXPECT_EQ(entry.key(), "a");
}

TEST(SuperglobalVariable, AppendsEntriesWithoutMatchingTheirKeys) {
  auto target = Parse<SuperglobalVariable>("0A 01 47 12 03 0A 01 61 12 03 0A 01 62");
  target.MergeFrom(Parse<SuperglobalVariable>("12 07 0A 01 61 12 02 08 01 12 03 0A 01 63"));
  EXPECT_EQ(Hex(target),
            "0A 01 47 12 03 0A 01 61 12 03 0A 01 62 12 07 0A 01 61 12 02 08 01 12 03 0A 01 63");
}

TEST(StackTraceFrame, MergesArgumentsThatArriveTwice) {
  EXPECT_EQ(Hex(Parse<StackTraceFrame>("2A 04 0A 02 10 01 2A 04 0A 02 10 02")),
            "2A 08 0A 02 10 01 0A 02 10 02");
}

}  // namespace
}  // namespace messages::quorphp
