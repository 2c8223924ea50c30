#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <gtest/gtest.h>
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
using quor::protobuf::QuorPHP::StackTrace;
using quor::protobuf::Tarq::Error;
using quor::protobuf::Tarq::Error_Severity;
using quor::protobuf::Tarq::Function;
using quor::protobuf::Tarq::Function_FunctionType;
using quor::protobuf::Tarq::Functions;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(TarqFile, NumbersItsMessagesInTheOrderOfTheirDeclaration) {
  namespace tarq = quor::protobuf::Tarq;
  EXPECT_EQ(
      (std::vector<int>{
          tarq::Function::kIndexInFileMessages, tarq::Functions::kIndexInFileMessages,
          tarq::Error::kIndexInFileMessages, tarq::StorageData::kIndexInFileMessages,
          tarq::Storage::kIndexInFileMessages, tarq::Superglobals::kIndexInFileMessages,
          tarq::RequestHeaders::kIndexInFileMessages, tarq::RawPostData::kIndexInFileMessages,
          tarq::ResponseHeaders::kIndexInFileMessages, tarq::ResponseBody::kIndexInFileMessages,
          tarq::SqlConnection::kIndexInFileMessages, tarq::SqlConnections::kIndexInFileMessages,
          tarq::SqlTransaction::kIndexInFileMessages, tarq::SqlTransactions::kIndexInFileMessages,
          tarq::SqlError::kIndexInFileMessages, tarq::SqlQuery::kIndexInFileMessages,
          tarq::SqlQueries::kIndexInFileMessages}),
      (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
}

TEST(TarqFunction, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(Function, function_type, Function_FunctionType), "08");
  ExpectField(PLAIN_TEXT(Function, function_name), "12",
              "quor.protobuf.Tarq.Function.function_name");
  ExpectField(PLAIN_NUMBER(Function, times_called, uint32_t), "18");
  ExpectField(SUB_MESSAGE(Function, duration_inclusive, Duration), "32");
  ExpectField(SUB_MESSAGE(Function, duration_exclusive, Duration), "3A");
  ExpectField(PLAIN_TEXT(Function, file_name), "42", "quor.protobuf.Tarq.Function.file_name");
  ExpectField(PLAIN_NUMBER(Function, line_start, uint32_t), "48");
  ExpectField(PLAIN_NUMBER(Function, line_end, uint32_t), "50");
}

TEST(TarqFunctions, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(Functions, queue_id), "0A", "quor.protobuf.Tarq.Functions.queue_id");
  ExpectField(LIST(Functions, functions, Function), "12");
}

TEST(TarqError, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(Error, queue_id), "0A", "quor.protobuf.Tarq.Error.queue_id");
  ExpectField(SUB_MESSAGE(Error, timestamp, Timestamp), "12");
  ExpectField(PLAIN_NUMBER(Error, severity, Error_Severity), "20");
  ExpectField(PLAIN_NUMBER(Error, error_type, int32_t), "28");
  ExpectField(PLAIN_TEXT(Error, error_type_str), "32", "quor.protobuf.Tarq.Error.error_type_str");
  ExpectField(PLAIN_TEXT(Error, file_name), "3A", "quor.protobuf.Tarq.Error.file_name");
  ExpectField(PLAIN_NUMBER(Error, line_no, uint32_t), "40");
  ExpectField(PLAIN_TEXT(Error, class_name), "4A", "quor.protobuf.Tarq.Error.class_name");
  ExpectField(PLAIN_TEXT(Error, code), "52", "quor.protobuf.Tarq.Error.code");
  ExpectField(PLAIN_TEXT(Error, message), "5A", "quor.protobuf.Tarq.Error.message");
  ExpectField(SUB_MESSAGE(Error, stack_trace, StackTrace), "62");
}

TEST(TarqFunction, HasTwoTypes) {
  ExpectEnum(NESTED_ENUM(quor::protobuf::Tarq, Function, FunctionType),
             "quor.protobuf.Tarq.Function.FunctionType",
             {{"INTERNAL", Function::INTERNAL}, {"USER", Function::USER}});
}

TEST(TarqError, HasFourSeverities) {
  ExpectEnum(NESTED_ENUM(quor::protobuf::Tarq, Error, Severity),
             "quor.protobuf.Tarq.Error.Severity",
             {{"EXCEPTION", Error::EXCEPTION},
              {"NOTICE", Error::NOTICE},
              {"WARNING", Error::WARNING},
              {"ERROR", Error::ERROR}});
}

TEST(TarqError, IsNotTheErrorOfThePhpValues) {
  EXPECT_FALSE((std::is_same_v<Error, quor::protobuf::QuorPHP::Error>));
  EXPECT_EQ(Error().GetTypeName(), "quor.protobuf.Tarq.Error");
  EXPECT_EQ(quor::protobuf::QuorPHP::Error().GetTypeName(), "quor.protobuf.QuorPHP.Error");
}

TEST(TarqFunction, IsWrittenAsTheBytesWorkedOutByHand) {
  Function function;
  function.set_function_type(Function::USER);
  function.set_function_name("f");
  function.set_times_called(3);
  function.mutable_duration_inclusive()->set_seconds(6);
  function.mutable_duration_exclusive()->set_seconds(7);
  function.set_file_name("p");
  function.set_line_start(9);
  function.set_line_end(10);
  ExpectBytes(function,
              "08 01"
              "12 01 66"
              "18 03"
              "32 02 08 06"
              "3A 02 08 07"
              "42 01 70"
              "48 09"
              "50 0A");
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

TEST(TarqError, IsWrittenAsTheBytesWorkedOutByHand) {
  Error error;
  error.set_queue_id("q");
  error.mutable_timestamp()->set_seconds(2);
  error.set_severity(Error::ERROR);
  error.set_error_type(300);
  error.set_error_type_str("s");
  error.set_file_name("f");
  error.set_line_no(9);
  error.set_class_name("c");
  error.set_code("d");
  error.set_message("m");
  error.mutable_stack_trace()->add_frames()->set_frame_id(12);
  ExpectBytes(error,
              "0A 01 71"
              "12 02 08 02"
              "20 03"
              "28 AC 02"
              "32 01 73"
              "3A 01 66"
              "40 09"
              "4A 01 63"
              "52 01 64"
              "5A 01 6D"
              "62 04 0A 02 08 0C");
}

TEST(TarqFunction, WritesNothingByDefault) { EXPECT_EQ(Hex(Function()), ""); }

TEST(TarqError, WritesNothingByDefault) { EXPECT_EQ(Hex(Error()), ""); }

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

TEST(TarqFunction, KeepsAnUndeclaredType) {
  const auto function = Parse<Function>("08 07");
  EXPECT_EQ(static_cast<int>(function.function_type()), 7);
  EXPECT_FALSE(quor::protobuf::Tarq::Function_FunctionType_IsValid(7));
  EXPECT_EQ(Hex(function), "08 07");
}

TEST(TarqError, KeepsAnUndeclaredSeverity) {
  const auto error = Parse<Error>("20 04");
  EXPECT_EQ(static_cast<int>(error.severity()), 4);
  EXPECT_FALSE(quor::protobuf::Tarq::Error_Severity_IsValid(4));
  EXPECT_EQ(Hex(error), "20 04");
}

TEST(TarqEnums, AreStoredWithoutATestOfTheirRange) {
  Function function;
  function.set_function_type(static_cast<Function_FunctionType>(-1));
  EXPECT_EQ(Hex(function), "08 FF FF FF FF FF FF FF FF FF 01");
  Error error;
  error.set_severity(static_cast<Error_Severity>(100));
  EXPECT_EQ(Hex(error), "20 64");
}

TEST(TarqError, DoesNotTellAnExceptionFromNoSeverity) {
  Error error;
  error.set_severity(Error::EXCEPTION);
  EXPECT_EQ(Hex(error), "");
  EXPECT_EQ(Parse<Error>("").severity(), Error::EXCEPTION);
}

TEST(TarqError, WritesAnErrorTypeOfMinusOneInTenBytes) {
  Error error;
  error.set_error_type(-1);
  EXPECT_EQ(Hex(error), "28 FF FF FF FF FF FF FF FF FF 01");
}

TEST(TarqError, WritesAMessageThatIsNotUtf8ButDoesNotReadIt) {
  Error error;
  error.set_message("\xFF");
  wire::ExpectInvalidTextIsWrittenButNotRead(error, "5A 01 FF", "quor.protobuf.Tarq.Error.message");
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

TEST(TarqFunctions, KeepsItsQueueIdWhenAnEmptyOneIsMerged) {
  auto target = Parse<Functions>("0A 01 71 12 02 08 01 18 01");
  target.MergeFrom(Parse<Functions>("12 02 18 05 20 02"));
  EXPECT_EQ(Hex(target), "0A 01 71 12 02 08 01 12 02 18 05 18 01 20 02");
}

TEST(TarqFunction, TakesTheLastNumberAndMergesADurationThatArrivesTwice) {
  EXPECT_EQ(Hex(Parse<Function>("08 01 18 05 32 02 08 01 08 02 18 06 32 02 10 02")),
            "08 02 18 06 32 04 08 01 10 02");
}

TEST(TarqError, MergesWhatIsSetAndSubMessagesFieldByField) {
  auto target = Parse<Error>("0A 01 71 12 02 08 01 20 02 5A 01 6D 62 02 0A 00");
  target.MergeFrom(Parse<Error>("12 02 10 02 28 05 5A 01 6E 62 04 0A 02 08 01"));
  EXPECT_EQ(Hex(target), "0A 01 71 12 04 08 01 10 02 20 02 28 05 5A 01 6E 62 06 0A 00 0A 02 08 01");
}

TEST(TarqError, IsEmptyOnceCleared) {
  auto error = Parse<Error>(
      "0A 01 71 12 00 20 03 28 05 32 01 73 3A 01 66 40 09 4A 01 63 52 01 64 5A 01 6D 62 00 18 01");
  error.Clear();
  EXPECT_FALSE(error.has_timestamp());
  EXPECT_FALSE(error.has_stack_trace());
  EXPECT_EQ(Hex(error), "");
}

}  // namespace
