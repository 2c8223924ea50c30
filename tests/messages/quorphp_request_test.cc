#include <google/protobuf/duration.pb.h>
#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>

#include "support/hex_bytes.h"

namespace messages::quorphp {
namespace {

using google::protobuf::Duration;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
using wire::Hex;
using wire::Parse;

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

}  // namespace
}  // namespace messages::quorphp
