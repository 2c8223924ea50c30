#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>

#include <cstdint>
#include <string>

#include "fields.h"
#include "wire.h"

namespace {

using google::protobuf::Duration;
using google::protobuf::Timestamp;
using quor::protobuf::QuorPHP::PhpVersion;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(RInitData, HasItsFieldsUnderTheirTags) {
  ExpectField(SUB_MESSAGE(RInitData, php_version, PhpVersion), "0A");
  ExpectField(SUB_MESSAGE(RInitData, timestamp, Timestamp), "12");
  ExpectField(PLAIN_TEXT(RInitData, method), "1A", "quor.protobuf.QuorPHP.RInitData.method");
  ExpectField(PLAIN_TEXT(RInitData, target), "22", "quor.protobuf.QuorPHP.RInitData.target");
  ExpectField(PLAIN_TEXT(RInitData, node_name), "2A", "quor.protobuf.QuorPHP.RInitData.node_name");
  ExpectField(PLAIN_NUMBER(RInitData, pid, int32_t), "30");
  ExpectField(PLAIN_TEXT(RInitData, queue_id), "3A", "quor.protobuf.QuorPHP.RInitData.queue_id");
}

TEST(RShutdownData, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(RShutdownData, http_response_code, int32_t), "08");
  ExpectField(SUB_MESSAGE(RShutdownData, total_time, Duration), "12");
  ExpectField(PLAIN_NUMBER(RShutdownData, memory_usage, uint64_t), "18");
  ExpectField(PLAIN_NUMBER(RShutdownData, memory_peak_usage, uint64_t), "20");
  ExpectField(PLAIN_NUMBER(RShutdownData, memory_limit, uint64_t), "28");
  ExpectField(PLAIN_TEXT(RShutdownData, queue_id), "32",
              "quor.protobuf.QuorPHP.RShutdownData.queue_id");
}

TEST(RInitData, IsWrittenAsTheBytesWorkedOutByHand) {
  RInitData start;
  start.mutable_php_version()->set_major_version(8);
  start.mutable_php_version()->set_minor_version(2);
  start.mutable_php_version()->set_release(35);
  start.mutable_timestamp()->set_seconds(1'700'000'000);
  start.mutable_timestamp()->set_nanos(5);
  start.set_method("GET");
  start.set_target("/");
  start.set_node_name("n1");
  start.set_pid(4242);
  start.set_queue_id("17");
  ExpectBytes(start,
              "0A 06 08 08 10 02 18 23"
              "12 08 08 80 E2 CF AA 06 10 05"
              "1A 03 47 45 54"
              "22 01 2F"
              "2A 02 6E 31"
              "30 92 21"
              "3A 02 31 37");
}

TEST(RShutdownData, IsWrittenAsTheBytesWorkedOutByHand) {
  RShutdownData end;
  end.set_http_response_code(200);
  end.mutable_total_time()->set_seconds(1);
  end.mutable_total_time()->set_nanos(500'000'000);
  end.set_memory_usage(2'097'152);
  end.set_memory_peak_usage(4'194'304);
  end.set_memory_limit(134'217'728);
  end.set_queue_id("17");
  ExpectBytes(end,
              "08 C8 01"
              "12 08 08 01 10 80 CA B5 EE 01"
              "18 80 80 80 01"
              "20 80 80 80 02"
              "28 80 80 80 40"
              "32 02 31 37");
}

TEST(RShutdownData, CarriesTheLargestMemoryLimit) {
  RShutdownData end;
  end.set_memory_limit(UINT64_MAX);
  EXPECT_EQ(Hex(end), "28 FF FF FF FF FF FF FF FF FF 01");
  EXPECT_EQ(Parse<RShutdownData>("28 FF FF FF FF FF FF FF FF FF 01").memory_limit(), UINT64_MAX);
}

TEST(RInitData, WritesAProcessNumberOfMinusOneInTenBytes) {
  RInitData start;
  start.set_pid(-1);
  EXPECT_EQ(Hex(start), "30 FF FF FF FF FF FF FF FF FF 01");
  EXPECT_EQ(Parse<RInitData>("30 FF FF FF FF FF FF FF FF FF 01").pid(), -1);
}

TEST(RShutdownData, WritesATotalTimeOfZero) {
  RShutdownData end;
  *end.mutable_total_time() = Duration();
  EXPECT_TRUE(end.has_total_time());
  EXPECT_EQ(Hex(end), "12 00");
  EXPECT_TRUE(Parse<RShutdownData>("12 00").has_total_time());
}

TEST(RShutdownData, DoesNotTellAMemoryUsageOfZeroFromNone) {
  RShutdownData end;
  end.set_memory_usage(0);
  EXPECT_EQ(Hex(end), Hex(RShutdownData()));
}

TEST(RequestRecords, CarryTheSameQueueIdAsText) {
  RInitData start;
  start.set_queue_id("17");
  RShutdownData end;
  end.set_queue_id("17");
  EXPECT_EQ(Hex(start), "3A 02 31 37");
  EXPECT_EQ(Hex(end), "32 02 31 37");
  EXPECT_EQ(Parse<RInitData>("3A 02 31 37").queue_id(),
            Parse<RShutdownData>("32 02 31 37").queue_id());
}

TEST(RequestRecords, DoNotReadAQueueIdSentAsANumber) {
  const auto start = Parse<RInitData>("38 11");
  EXPECT_EQ(start.queue_id(), "");
  EXPECT_EQ(Hex(start), "38 11");
  const auto end = Parse<RShutdownData>("30 11");
  EXPECT_EQ(end.queue_id(), "");
  EXPECT_EQ(Hex(end), "30 11");
}

TEST(RInitData, MergesWhatIsSetAndSubMessagesFieldByField) {
  auto target = Parse<RInitData>("0A 02 08 08 1A 03 47 45 54 30 05");
  target.MergeFrom(Parse<RInitData>("0A 02 10 02 12 02 08 01 22 01 2F"));
  EXPECT_EQ(Hex(target), "0A 04 08 08 10 02 12 02 08 01 1A 03 47 45 54 22 01 2F 30 05");
}

TEST(RShutdownData, MergesWhatIsSetAndTheTimeFieldByField) {
  auto target = Parse<RShutdownData>("08 64 12 02 08 01 18 05 20 06");
  target.MergeFrom(Parse<RShutdownData>("12 02 10 02 20 07 32 01 71"));
  EXPECT_EQ(Hex(target), "08 64 12 04 08 01 10 02 18 05 20 07 32 01 71");
}

TEST(RequestRecords, AreEmptyOnceCleared) {
  auto start = Parse<RInitData>("0A 00 12 00 1A 01 61 22 01 62 2A 01 63 30 01 3A 01 64 40 01");
  start.Clear();
  EXPECT_FALSE(start.has_php_version());
  EXPECT_FALSE(start.has_timestamp());
  EXPECT_EQ(Hex(start), "");
  auto end = Parse<RShutdownData>("08 01 12 00 18 01 20 01 28 01 32 01 61 38 01");
  end.Clear();
  EXPECT_FALSE(end.has_total_time());
  EXPECT_EQ(Hex(end), "");
}

}  // namespace
