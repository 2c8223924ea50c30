#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>

#include <cstdint>
#include <string>

#include "fields.h"
#include "wire.h"

namespace {

using quor::protobuf::QuorPHP::QuorArray;
using quor::protobuf::QuorPHP::QuorArrayValue;
using quor::protobuf::QuorPHP::QVal;
using quor::protobuf::QuorPHP::StackTrace;
using quor::protobuf::QuorPHP::StackTraceFrame;
using quor::protobuf::QuorPHP::SuperglobalValue;
using quor::protobuf::QuorPHP::SuperglobalVariable;
using wire::ExpectBytes;
using wire::ExpectComplaint;
using wire::Hex;
using wire::Parse;

TEST(SuperglobalValue, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(SuperglobalValue, key), "0A",
              "quor.protobuf.QuorPHP.SuperglobalValue.key");
  ExpectField(SUB_MESSAGE(SuperglobalValue, value, QVal), "12");
  ExpectField(SUB_MESSAGE(SuperglobalValue, old_value, QVal), "1A");
}

TEST(SuperglobalVariable, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(SuperglobalVariable, name), "0A",
              "quor.protobuf.QuorPHP.SuperglobalVariable.name");
  ExpectField(LIST(SuperglobalVariable, values, SuperglobalValue), "12");
}

TEST(StackTraceFrame, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(StackTraceFrame, frame_id, uint32_t), "08");
  ExpectField(PLAIN_TEXT(StackTraceFrame, function_name), "12",
              "quor.protobuf.QuorPHP.StackTraceFrame.function_name");
  ExpectField(PLAIN_TEXT(StackTraceFrame, file_name), "1A",
              "quor.protobuf.QuorPHP.StackTraceFrame.file_name");
  ExpectField(PLAIN_NUMBER(StackTraceFrame, line_no, uint32_t), "20");
  ExpectField(SUB_MESSAGE(StackTraceFrame, function_args, QuorArray), "2A");
}

TEST(StackTrace, HasItsFieldUnderItsTag) {
  ExpectField(LIST(StackTrace, frames, StackTraceFrame), "0A");
}

TEST(SuperglobalValue, IsWrittenAsTheBytesWorkedOutByHand) {
  SuperglobalValue entry;
  entry.set_key("k");
  entry.mutable_value()->set_value_type(QVal::INTEGER);
  entry.mutable_value()->set_int_value(2);
  entry.mutable_old_value()->set_value_type(QVal::INTEGER);
  entry.mutable_old_value()->set_int_value(1);
  ExpectBytes(entry,
              "0A 01 6B"
              "12 04 08 04 20 02"
              "1A 04 08 04 20 01");
}

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

TEST(StackTraceFrame, IsWrittenAsTheBytesWorkedOutByHand) {
  StackTraceFrame frame;
  frame.set_frame_id(1);
  frame.set_function_name("f");
  frame.set_file_name("p");
  frame.set_line_no(300);
  QuorArrayValue* const argument = frame.mutable_function_args()->add_values();
  argument->set_int_key(0);
  argument->mutable_value()->set_value_type(QVal::NUL);
  ExpectBytes(frame,
              "08 01"
              "12 01 66"
              "1A 01 70"
              "20 AC 02"
              "2A 08 0A 06 10 00 1A 02 08 01");
}

TEST(StackTrace, IsWrittenAsTheBytesWorkedOutByHand) {
  StackTrace trace;
  trace.add_frames()->set_frame_id(2);
  trace.add_frames()->set_function_name("f");
  ExpectBytes(trace,
              "0A 02 08 02"
              "0A 03 12 01 66");
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

TEST(SuperglobalValue, MergesItsTwoValuesApart) {
  auto target = Parse<SuperglobalValue>("0A 01 61 12 04 08 04 20 02");
  target.MergeFrom(Parse<SuperglobalValue>("12 02 08 01 1A 02 20 03"));
  EXPECT_EQ(Hex(target), "0A 01 61 12 04 08 01 20 02 1A 02 20 03");
}

TEST(SuperglobalValue, IsEmptyOnceCleared) {
  auto entry = Parse<SuperglobalValue>("0A 01 61 12 00 1A 00 20 01");
  entry.Clear();
  EXPECT_EQ(entry.key(), "");
  EXPECT_FALSE(entry.has_value());
  EXPECT_FALSE(entry.has_old_value());
  EXPECT_EQ(Hex(entry), "");
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

TEST(StackTraceFrame, DoesNotWriteZeroNumbers) {
  StackTraceFrame frame;
  frame.set_frame_id(0);
  frame.set_line_no(0);
  EXPECT_EQ(Hex(frame), "");
}

TEST(StackTraceFrame, WritesAHighLineNumberUnsigned) {
  StackTraceFrame frame;
  frame.set_line_no(2147483648U);
  EXPECT_EQ(Hex(frame), "20 80 80 80 80 08");
  EXPECT_EQ(Parse<StackTraceFrame>("20 80 80 80 80 08").line_no(), 2147483648U);
  frame.set_line_no(4294967295U);
  EXPECT_EQ(Hex(frame), "20 FF FF FF FF 0F");
}

TEST(StackTraceFrame, MergesArgumentsThatArriveTwice) {
  EXPECT_EQ(Hex(Parse<StackTraceFrame>("2A 04 0A 02 10 01 2A 04 0A 02 10 02")),
            "2A 08 0A 02 10 01 0A 02 10 02");
}

TEST(StackTraceFrame, MergesWhatIsSetAndAppendsArguments) {
  auto target = Parse<StackTraceFrame>("08 01 12 01 66 20 05 2A 02 0A 00");
  target.MergeFrom(Parse<StackTraceFrame>("08 02 1A 01 70 2A 04 0A 02 10 01"));
  EXPECT_EQ(Hex(target), "08 02 12 01 66 1A 01 70 20 05 2A 06 0A 00 0A 02 10 01");
  StackTraceFrame without_arguments;
  without_arguments.MergeFrom(Parse<StackTraceFrame>("2A 00"));
  EXPECT_TRUE(without_arguments.has_function_args());
}

TEST(StackTraceFrame, IsEmptyOnceCleared) {
  auto frame = Parse<StackTraceFrame>("08 01 12 01 66 1A 01 70 20 05 2A 00 30 01");
  frame.Clear();
  EXPECT_FALSE(frame.has_function_args());
  EXPECT_EQ(Hex(frame), "");
}

TEST(StackTrace, KeepsThreeEmptyFrames) {
  StackTrace trace;
  trace.add_frames();
  trace.add_frames();
  trace.add_frames();
  EXPECT_EQ(Hex(trace), "0A 00 0A 00 0A 00");
  EXPECT_EQ(Parse<StackTrace>("0A 00 0A 00 0A 00").frames_size(), 3);
}

TEST(StackTrace, KeepsTheOrderOfFramesAndAppendsWhenMerged) {
  auto target = Parse<StackTrace>("0A 02 08 03 0A 02 08 01");
  target.MergeFrom(Parse<StackTrace>("0A 02 08 02"));
  EXPECT_EQ(Hex(target), "0A 02 08 03 0A 02 08 01 0A 02 08 02");
}

}  // namespace
