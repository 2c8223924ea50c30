// What the runtime says, and how a host learns of it.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/logging.h>
#include <gtest/gtest.h>
#include <qmsg/tarq.pb.h>

#include <string>

#include "support/log_recorder.h"
#include "use.h"

namespace {

using google::protobuf::FatalException;
using google::protobuf::LogHandler;
using google::protobuf::SetLogHandler;
using quor::protobuf::Tarq::SqlQuery;

// Field 5, two bytes that are no UTF-8.
constexpr char kBadText[] = "\x2a\x02\xff\xfe";
constexpr char kFieldName[] = "quor.protobuf.Tarq.SqlQuery.query";

// A number, asked for in a field that holds text.
int AskForTheWrongType(const SqlQuery& query) {
  return SqlQuery::GetReflection()->GetInt32(query,
                                             SqlQuery::descriptor()->FindFieldByName("query"));
}

TEST(Log, OfRefusedTextIsOneLineOnStandardError) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  SqlQuery query;
  const bool read = query.ParseFromString(kBadText);
  const std::string error = testing::internal::GetCapturedStderr();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_FALSE(read);
  EXPECT_EQ(error.find("[libprotobuf ERROR "), 0U) << error;
  EXPECT_NE(error.find(kFieldName), std::string::npos) << error;
  EXPECT_EQ(error.find('\n'), error.size() - 1) << error;
}

TEST(Log, GoesToTheHandlerOfTheHostAndNoLongerToStandardError) {
  const LogRecorder recorder;
  testing::internal::CaptureStderr();
  SqlQuery query;
  EXPECT_FALSE(query.ParseFromString(kBadText));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_EQ(recorder.lines().size(), 1U);
  EXPECT_EQ(recorder.lines()[0].level, google::protobuf::LOGLEVEL_ERROR);
  EXPECT_NE(recorder.lines()[0].text.find(kFieldName), std::string::npos);
}

TEST(Log, HandlerOfTheHostIsLeftAlone) {
  const LogRecorder recorder;
  ASSERT_EQ(embedding::Use(), "");
  LogHandler* const after = SetLogHandler(nullptr);
  EXPECT_NE(after, nullptr);
  SetLogHandler(after);
  SqlQuery query;
  EXPECT_FALSE(query.ParseFromString(kBadText));
  EXPECT_EQ(recorder.lines().size(), 1U);
}

TEST(FailedCheck, IsAnExceptionThatAHostMayCatch) {
  const LogRecorder recorder;
  SqlQuery query;
  EXPECT_THROW(AskForTheWrongType(query), FatalException);
  ASSERT_EQ(recorder.lines().size(), 1U);
  EXPECT_EQ(recorder.lines()[0].level, google::protobuf::LOGLEVEL_FATAL);
  EXPECT_EQ(embedding::Use(), "");
}

TEST(FailedCheckDeathTest, EndsAProcessThatDoesNotCatchIt) {
  EXPECT_EXIT([]() noexcept { AskForTheWrongType(SqlQuery()); }(), testing::KilledBySignal(SIGABRT),
              "Protocol Buffer reflection usage error");
}

// What GOOGLE_PROTOBUF_VERIFY_VERSION does, with the numbers that other headers have in it.
TEST(VersionCheck, RefusesHeadersOfAnotherReleaseLine) {
  using google::protobuf::internal::VerifyVersion;
  const LogRecorder recorder;
  EXPECT_NO_THROW(GOOGLE_PROTOBUF_VERIFY_VERSION);
  EXPECT_EQ(recorder.lines().size(), 0U);
  EXPECT_THROW(VerifyVersion(4022000, 4022000, "extension.cc"), FatalException);
  EXPECT_THROW(VerifyVersion(3020003, 3020000, "extension.cc"), FatalException);
  ASSERT_EQ(recorder.lines().size(), 2U);
  EXPECT_NE(recorder.lines()[0].text.find("requires version 4.22.0"), std::string::npos)
      << recorder.lines()[0].text;
  EXPECT_NE(recorder.lines()[1].text.find("compiled against version 3.20.3"), std::string::npos)
      << recorder.lines()[1].text;
}

}  // namespace
