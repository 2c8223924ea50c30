#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <gtest/gtest.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "enums.h"
#include "fields.h"
#include "wire.h"

namespace {

using google::protobuf::Duration;
using google::protobuf::Timestamp;
using quor::protobuf::Monitor::CustomEventData;
using quor::protobuf::Monitor::Event;
using quor::protobuf::Monitor::Event_EventType;
using quor::protobuf::Monitor::FunctionData;
using quor::protobuf::Monitor::PhpErrorData;
using quor::protobuf::Monitor::Superglobals;
using quor::protobuf::QuorPHP::QuorArray;
using quor::protobuf::QuorPHP::QuorArrayValue;
using quor::protobuf::QuorPHP::QVal;
using quor::protobuf::QuorPHP::StackTraceFrame;
using quor::protobuf::QuorPHP::SuperglobalVariable;
using wire::ExpectBytes;
using wire::ExpectComplaint;
using wire::Hex;
using wire::Parse;

TEST(MonitorFile, NumbersItsMessagesInTheOrderOfTheirDeclaration) {
  EXPECT_EQ(
      (std::vector<int>{Superglobals::kIndexInFileMessages, FunctionData::kIndexInFileMessages,
                        PhpErrorData::kIndexInFileMessages, CustomEventData::kIndexInFileMessages,
                        Event::kIndexInFileMessages}),
      (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(MonitorSuperglobals, HasItsFieldUnderItsTag) {
  ExpectField(LIST(Superglobals, variables, SuperglobalVariable), "0A");
}

TEST(FunctionData, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(FunctionData, function_name), "0A",
              "quor.protobuf.Monitor.FunctionData.function_name");
  ExpectField(SUB_MESSAGE(FunctionData, function_args, QuorArray), "12");
  ExpectField(PLAIN_TEXT(FunctionData, file_name), "1A",
              "quor.protobuf.Monitor.FunctionData.file_name");
  ExpectField(PLAIN_NUMBER(FunctionData, line_no, uint32_t), "20");
}

TEST(PhpErrorData, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(PhpErrorData, error_type, int32_t), "08");
  ExpectField(PLAIN_TEXT(PhpErrorData, error_type_str), "12",
              "quor.protobuf.Monitor.PhpErrorData.error_type_str");
  ExpectField(PLAIN_TEXT(PhpErrorData, file_name), "1A",
              "quor.protobuf.Monitor.PhpErrorData.file_name");
  ExpectField(PLAIN_NUMBER(PhpErrorData, line_no, uint32_t), "20");
  ExpectField(PLAIN_TEXT(PhpErrorData, message), "2A",
              "quor.protobuf.Monitor.PhpErrorData.message");
}

TEST(CustomEventData, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(CustomEventData, type), "0A",
              "quor.protobuf.Monitor.CustomEventData.type");
  ExpectField(PLAIN_TEXT(CustomEventData, text), "12",
              "quor.protobuf.Monitor.CustomEventData.text");
  ExpectField(SUB_MESSAGE(CustomEventData, user_data, QVal), "1A");
  ExpectField(PLAIN_NUMBER(CustomEventData, severity, int32_t), "20");
}

TEST(Event, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(Event, event_type, Event_EventType), "08");
  ExpectField(PLAIN_TEXT(Event, rule_name), "12", "quor.protobuf.Monitor.Event.rule_name");
  ExpectField(SUB_MESSAGE(Event, timestamp, Timestamp), "1A");
  ExpectField(SUB_MESSAGE(Event, function, FunctionData), "22");
  ExpectField(LIST(Event, stack_trace, StackTraceFrame), "2A");
  ExpectField(SUB_MESSAGE(Event, exec_time, Duration), "32");
  ExpectField(ONEOF_NUMBER(Event, memory_usage_bytes, uint64_t), "38");
  ExpectField(SUB_MESSAGE(Event, php_error, PhpErrorData), "42");
  ExpectField(SUB_MESSAGE(Event, custom, CustomEventData), "4A");
  ExpectField(PLAIN_NUMBER(Event, codetrace, bool), "50");
}

TEST(Event, HasSixTypes) {
  ExpectEnum(NESTED_ENUM(quor::protobuf::Monitor, Event, EventType),
             "quor.protobuf.Monitor.Event.EventType",
             {{"SlowFunctionExecution", Event::SlowFunctionExecution},
              {"FunctionError", Event::FunctionError},
              {"SlowRequestExecution", Event::SlowRequestExecution},
              {"HighMemoryUsage", Event::HighMemoryUsage},
              {"PhpError", Event::PhpError},
              {"CustomEvent", Event::CustomEvent}});
}

TEST(Event, NamesTheCasesOfItsOneofByTheFieldNumbers) {
  EXPECT_EQ((std::vector<int>{Event::DATA_NOT_SET, Event::kExecTime, Event::kMemoryUsageBytes,
                              Event::kPhpError, Event::kCustom}),
            (std::vector<int>{0, 6, 7, 8, 9}));
}

TEST(MonitorSuperglobals, AreNotTheSuperglobalsOfARequestsProfile) {
  EXPECT_FALSE((std::is_same_v<Superglobals, quor::protobuf::Tarq::Superglobals>));
  EXPECT_EQ(Superglobals().GetTypeName(), "quor.protobuf.Monitor.Superglobals");
}

TEST(MonitorSuperglobals, IsWrittenAsTheBytesWorkedOutByHand) {
  Superglobals superglobals;
  SuperglobalVariable* const variable = superglobals.add_variables();
  variable->set_name("G");
  variable->add_values()->set_key("k");
  superglobals.add_variables()->set_name("P");
  ExpectBytes(superglobals, "0A 08 0A 01 47 12 03 0A 01 6B 0A 03 0A 01 50");
}

TEST(FunctionData, IsWrittenAsTheBytesWorkedOutByHand) {
  FunctionData function;
  function.set_function_name("f");
  QuorArrayValue* const argument = function.mutable_function_args()->add_values();
  argument->set_int_key(2);
  argument->mutable_value()->set_value_type(QVal::NUL);
  function.set_file_name("p");
  function.set_line_no(4);
  ExpectBytes(function,
              "0A 01 66"
              "12 08 0A 06 10 02 1A 02 08 01"
              "1A 01 70"
              "20 04");
}

TEST(PhpErrorData, IsWrittenAsTheBytesWorkedOutByHand) {
  PhpErrorData error;
  error.set_error_type(2);
  error.set_error_type_str("e");
  error.set_file_name("f");
  error.set_line_no(4);
  error.set_message("m");
  ExpectBytes(error, "08 02 12 01 65 1A 01 66 20 04 2A 01 6D");
}

TEST(CustomEventData, IsWrittenAsTheBytesWorkedOutByHand) {
  CustomEventData custom;
  custom.set_type("t");
  custom.set_text("x");
  custom.mutable_user_data()->set_int_value(3);
  custom.set_severity(5);
  ExpectBytes(custom, "0A 01 74 12 01 78 1A 02 20 03 20 05");
}

TEST(Event, IsWrittenAsTheBytesWorkedOutByHand) {
  Event event;
  event.set_codetrace(true);
  event.mutable_custom()->set_type("t");
  event.add_stack_trace()->set_frame_id(5);
  event.add_stack_trace()->set_frame_id(6);
  event.mutable_function()->set_function_name("f");
  event.mutable_timestamp()->set_seconds(3);
  event.set_rule_name("r");
  event.set_event_type(Event::CustomEvent);
  ExpectBytes(event,
              "08 05"
              "12 01 72"
              "1A 02 08 03"
              "22 03 0A 01 66"
              "2A 02 08 05"
              "2A 02 08 06"
              "4A 03 0A 01 74"
              "50 01");

  event.mutable_php_error()->set_message("m");
  EXPECT_EQ(event.data_case(), Event::kPhpError);
  event.clear_stack_trace();
  event.clear_function();
  ExpectBytes(event, "08 05 12 01 72 1A 02 08 03 42 03 2A 01 6D 50 01");

  event.set_memory_usage_bytes(300);
  EXPECT_EQ(event.data_case(), Event::kMemoryUsageBytes);
  ExpectBytes(event, "08 05 12 01 72 1A 02 08 03 38 AC 02 50 01");

  event.mutable_exec_time()->set_seconds(9);
  EXPECT_EQ(event.data_case(), Event::kExecTime);
  ExpectBytes(event, "08 05 12 01 72 1A 02 08 03 32 02 08 09 50 01");
}

TEST(Event, WritesNothingByDefaultAndReadsThatAsASlowFunction) {
  EXPECT_EQ(Hex(Event()), "");
  const auto event = Parse<Event>("");
  EXPECT_EQ(event.event_type(), Event::SlowFunctionExecution);
  EXPECT_EQ(event.data_case(), Event::DATA_NOT_SET);
}

TEST(Event, DoesNotWriteTheTypeOfASlowFunction) {
  Event event;
  event.set_event_type(Event::PhpError);
  event.set_event_type(Event::SlowFunctionExecution);
  EXPECT_EQ(Hex(event), "");
}

TEST(Event, KeepsAMemoryUsageOfZero) {
  Event event;
  event.set_memory_usage_bytes(0);
  EXPECT_EQ(Hex(event), "38 00");
  const auto read = Parse<Event>("38 00");
  EXPECT_EQ(read.data_case(), Event::kMemoryUsageBytes);
  EXPECT_TRUE(read.has_memory_usage_bytes());
}

TEST(Event, WritesAnExecutionTimeOfZero) {
  Event event;
  *event.mutable_exec_time() = Duration();
  EXPECT_EQ(Hex(event), "32 00");
  EXPECT_EQ(Parse<Event>("32 00").data_case(), Event::kExecTime);
}

TEST(Event, KeepsOnlyThePayloadThatWasSetLast) {
  Event event;
  event.mutable_php_error()->set_message("m");
  event.mutable_custom();
  EXPECT_EQ(event.data_case(), Event::kCustom);
  EXPECT_FALSE(event.has_php_error());
  EXPECT_TRUE(event.has_custom());
  EXPECT_EQ(event.php_error().message(), "");
  EXPECT_EQ(Hex(event), "4A 00");
  event.clear_data();
  EXPECT_EQ(event.data_case(), Event::DATA_NOT_SET);
  EXPECT_EQ(Hex(event), "");
}

TEST(Event, ReadsOnlyTheLastPayloadOnTheWire) {
  EXPECT_EQ(Hex(Parse<Event>("42 03 2A 01 6D 38 05")), "38 05");
  EXPECT_EQ(Hex(Parse<Event>("38 05 32 02 08 01 4A 00")), "4A 00");
}

TEST(Event, MergesAPayloadThatArrivesTwice) {
  EXPECT_EQ(Hex(Parse<Event>("42 02 08 01 42 03 2A 01 6D")), "42 05 08 01 2A 01 6D");
  EXPECT_EQ(Hex(Parse<Event>("32 02 08 01 32 02 10 02")), "32 04 08 01 10 02");
}

TEST(Event, WritesATrueCodetraceLastAndAFalseOneNever) {
  Event event;
  event.set_codetrace(true);
  event.mutable_custom();
  event.set_rule_name("r");
  EXPECT_EQ(Hex(event), "12 01 72 4A 00 50 01");
  event.set_codetrace(false);
  EXPECT_EQ(Hex(event), "12 01 72 4A 00");
}

TEST(Event, ReadsAnyNumberButZeroAsATrueCodetrace) {
  EXPECT_EQ(Hex(Parse<Event>("50 02")), "50 01");
  EXPECT_EQ(Hex(Parse<Event>("50 80 80 80 80 10")), "50 01");
  EXPECT_FALSE(Parse<Event>("50 01 50 00").codetrace());
}

TEST(Event, CarriesAPayloadThatDoesNotGoWithItsType) {
  Event event;
  event.set_event_type(Event::PhpError);
  event.mutable_exec_time()->set_seconds(1);
  EXPECT_EQ(Hex(event), "08 04 32 02 08 01");
  const auto read = Parse<Event>("08 04 32 02 08 01");
  EXPECT_EQ(read.event_type(), Event::PhpError);
  EXPECT_EQ(read.data_case(), Event::kExecTime);
  EXPECT_EQ(Hex(read), "08 04 32 02 08 01");
}

TEST(Event, KeepsAnUndeclaredType) {
  const auto event = Parse<Event>("08 06");
  EXPECT_EQ(static_cast<int>(event.event_type()), 6);
  EXPECT_FALSE(quor::protobuf::Monitor::Event_EventType_IsValid(6));
  EXPECT_EQ(Hex(event), "08 06");
  const auto negative = Parse<Event>("08 FF FF FF FF FF FF FF FF FF 01");
  EXPECT_EQ(static_cast<int>(negative.event_type()), -1);
  EXPECT_EQ(Hex(negative), "08 FF FF FF FF FF FF FF FF FF 01");
}

TEST(Event, ReadsTheLower32BitsOfAType) {
  EXPECT_EQ(Hex(Parse<Event>("08 86 80 80 80 10")), "08 06");
}

TEST(Event, KeepsTheOrderOfFramesAndAppendsWhenMerged) {
  auto target = Parse<Event>("2A 02 08 03 2A 02 08 01");
  EXPECT_EQ(Hex(target), "2A 02 08 03 2A 02 08 01");
  target.MergeFrom(Parse<Event>("2A 02 08 02 2A 00"));
  EXPECT_EQ(Hex(target), "2A 02 08 03 2A 02 08 01 2A 02 08 02 2A 00");
}

TEST(Event, ChangesWhenAnotherIsMergedIntoIt) {
  struct Case {
    const char* what;
    const char* target;
    const char* source;
    const char* merged;
  };
  const std::vector<Case> cases = {
      {"no payload: the memory usage stays", "08 03 38 07", "08 05", "08 05 38 07"},
      {"no type, no rule, no codetrace", "08 03 12 01 72 50 01", "38 00",
       "08 03 12 01 72 38 00 50 01"},
      {"a rule", "12 01 72", "12 01 73", "12 01 73"},
      {"a codetrace", "12 01 72", "50 01", "12 01 72 50 01"},
      {"a time of the event", "1A 02 08 01", "1A 02 10 02", "1A 04 08 01 10 02"},
      {"a function into none", "", "22 03 0A 01 66", "22 03 0A 01 66"},
      {"a function into another", "22 03 0A 01 66", "22 02 20 05", "22 05 0A 01 66 20 05"},
      {"a memory usage of zero", "38 07", "38 00", "38 00"},
      {"another payload", "38 07", "32 00", "32 00"},
      {"an execution time into another", "32 02 08 01", "32 02 10 02", "32 04 08 01 10 02"},
      {"a PHP error into another", "42 02 08 01", "42 03 2A 01 6D", "42 05 08 01 2A 01 6D"},
      {"a custom event into another", "4A 03 0A 01 74", "4A 02 20 05", "4A 05 0A 01 74 20 05"},
  };
  for (const auto& c : cases) {
    auto target = Parse<Event>(c.target);
    target.MergeFrom(Parse<Event>(c.source));
    EXPECT_EQ(Hex(target), c.merged) << c.what;
  }
}

TEST(Event, IsEmptyOnceCleared) {
  auto event = Parse<Event>("08 05 12 01 72 1A 00 22 00 2A 00 4A 00 50 01 58 01");
  event.Clear();
  EXPECT_FALSE(event.has_timestamp());
  EXPECT_FALSE(event.has_function());
  EXPECT_FALSE(event.has_custom());
  EXPECT_EQ(event.data_case(), Event::DATA_NOT_SET);
  EXPECT_EQ(Hex(event), "");
}

TEST(Event, IsNotReadIfANestedTextIsNotUtf8) {
  struct Case {
    const char* bytes;
    const char* field;
  };
  const std::vector<Case> cases = {
      {"22 03 0A 01 FF", "quor.protobuf.Monitor.FunctionData.function_name"},
      {"22 09 12 07 0A 05 1A 03 1A 01 FF", "quor.protobuf.QuorPHP.QVal.string_value"},
      {"2A 03 12 01 FF", "quor.protobuf.QuorPHP.StackTraceFrame.function_name"},
      {"4A 05 1A 03 32 01 FF", "quor.protobuf.QuorPHP.QVal.json_value"},
  };
  for (const auto& c : cases) {
    LogRecorder log;
    Event event;
    EXPECT_FALSE(event.ParseFromString(wire::Bytes(c.bytes))) << c.bytes;
    ExpectComplaint(log.Take(), c.field, "parsing");
  }
}

}  // namespace
