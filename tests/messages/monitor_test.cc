#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <gtest/gtest.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <type_traits>
#include <vector>

#include "support/hex_bytes.h"

namespace messages::monitor {
namespace {

using google::protobuf::Duration;
using quor::protobuf::Monitor::Event;
using quor::protobuf::Monitor::FunctionData;
using quor::protobuf::Monitor::Superglobals;
using quor::protobuf::QuorPHP::QVal;
using quor::protobuf::QuorPHP::StackTraceFrame;
using wire::ExpectBytes;
using wire::ExpectComplaint;
using wire::Hex;
using wire::Parse;

TEST(MonitorSuperglobals, AreNotTheSuperglobalsOfARequestsProfile) {
  EXPECT_FALSE((std::is_same_v<Superglobals, quor::protobuf::Tarq::Superglobals>));
  EXPECT_EQ(Superglobals().GetTypeName(), "quor.protobuf.Monitor.Superglobals");
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
}  // namespace messages::monitor
