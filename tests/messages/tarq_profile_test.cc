#include <google/protobuf/duration.pb.h>
#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <string>
#include <type_traits>

#include "support/hex_bytes.h"

namespace messages::tarq {
namespace {

using quor::protobuf::Tarq::Error;
using quor::protobuf::Tarq::Function;
using quor::protobuf::Tarq::Functions;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(TarqError, IsNotTheErrorOfThePhpValues) {
  EXPECT_FALSE((std::is_same_v<Error, quor::protobuf::QuorPHP::Error>));
  EXPECT_EQ(Error().GetTypeName(), "quor.protobuf.Tarq.Error");
  EXPECT_EQ(quor::protobuf::QuorPHP::Error().GetTypeName(), "quor.protobuf.QuorPHP.Error");
}

TEST(TarqFunctions, IsWrittenAsTheBytesWorkedOutByHand) {
  Functions functions;
  functions.set_queue_id("q");
  functions.add_functions()->set_function_name("f");
  functions.add_functions()->set_function_type(Function::USER);
  ExpectBytes(functions,
              "0A 01 71"
              "12 03 12 01 66"
              "12 02 08 01");
}

TEST(TarqFunction, WritesTheTypeUserButNotInternal) {
  Function function;
  function.set_function_type(Function::USER);
  EXPECT_EQ(Hex(function), "08 01");
  function.set_function_type(Function::INTERNAL);
  EXPECT_EQ(Hex(function), "");
}

TEST(TarqFunction, KeepsAnEmptyDurationThatIsPresent) {
  Function function;
  function.mutable_duration_inclusive();
  EXPECT_EQ(Hex(function), "32 00");
  const auto read = Parse<Function>("32 00");
  EXPECT_TRUE(read.has_duration_inclusive());
  EXPECT_FALSE(read.has_duration_exclusive());
}

TEST(TarqFunction, KeepsTheUnusedNumbersFourAndFiveAsUnknown) {
  auto function = Parse<Function>("08 01 2A 01 62 20 05 42 01 70");
  EXPECT_EQ(wire::UnknownFields(function).field_count(), 2);
  EXPECT_EQ(Hex(function), "08 01 42 01 70 2A 01 62 20 05");
  function.DiscardUnknownFields();
  EXPECT_EQ(Hex(function), "08 01 42 01 70");
}

TEST(TarqError, KeepsTheUnusedNumberThreeAsUnknown) {
  auto error = Parse<Error>("0A 01 71 1A 01 78 20 01");
  EXPECT_EQ(wire::UnknownFields(error).field_count(), 1);
  EXPECT_EQ(Hex(error), "0A 01 71 20 01 1A 01 78");
  error.DiscardUnknownFields();
  EXPECT_EQ(Hex(error), "0A 01 71 20 01");
}

TEST(TarqError, DoesNotTellAnExceptionFromNoSeverity) {
  Error error;
  error.set_severity(Error::EXCEPTION);
  EXPECT_EQ(Hex(error), "");
  EXPECT_EQ(Parse<Error>("").severity(), Error::EXCEPTION);
}

TEST(TarqFunctions, KeepsTwoFunctionsOfOneNameAndTheirOrder) {
  Functions functions;
  for (const char* const name : {"g", "f", "g"}) {
    functions.add_functions()->set_function_name(name);
  }
  const std::string bytes = "12 03 12 01 67 12 03 12 01 66 12 03 12 01 67";
  EXPECT_EQ(Hex(functions), bytes);
  EXPECT_EQ(Parse<Functions>(bytes).functions_size(), 3);
}

TEST(TarqFunction, TakesTheLastNumberAndMergesADurationThatArrivesTwice) {
  EXPECT_EQ(Hex(Parse<Function>("08 01 18 05 32 02 08 01 08 02 18 06 32 02 10 02")),
            "08 02 18 06 32 04 08 01 10 02");
}

}  // namespace
}  // namespace messages::tarq
