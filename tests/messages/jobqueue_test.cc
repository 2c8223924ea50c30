#include <gtest/gtest.h>
#include <qmsg/jobqueue.pb.h>

#include "support/hex_bytes.h"

namespace messages::jobqueue {
namespace {

using quor::protobuf::JQ::AttrList;
using quor::protobuf::JQ::JobId;
using quor::protobuf::JQ::QueueId;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(JobId, IsWrittenAsTheBytesWorkedOutByHand) {
  JobId id;
  id.set_queue_name("q");
  id.set_job_id(9);
  ExpectBytes(id, "12 01 71 18 09");
  id.set_queue_id(8);
  id.set_job_name("j");
  ExpectBytes(id, "08 08 22 01 6A");
}

TEST(QueueId, KeepsAQueueIdOfZero) {
  QueueId id;
  id.set_queue_id(0);
  EXPECT_EQ(Hex(id), "08 00");
  const auto read = Parse<QueueId>("08 00");
  EXPECT_EQ(read.id_or_name_case(), QueueId::kQueueId);
  EXPECT_TRUE(read.has_queue_id());
  EXPECT_FALSE(read.has_queue_name());
}

TEST(QueueId, KeepsAnEmptyName) {
  EXPECT_EQ(Parse<QueueId>("12 00").id_or_name_case(), QueueId::kQueueName);
  EXPECT_EQ(Hex(Parse<QueueId>("12 00")), "12 00");
}

TEST(QueueId, IsNamedByWhatWasSetLast) {
  QueueId id;
  id.set_queue_id(7);
  id.set_queue_name("q");
  EXPECT_EQ(id.id_or_name_case(), QueueId::kQueueName);
  EXPECT_EQ(id.queue_id(), 0);
  id.clear_id_or_name();
  EXPECT_EQ(id.id_or_name_case(), QueueId::ID_OR_NAME_NOT_SET);
  EXPECT_EQ(Hex(id), "");
}

TEST(JobId, NamesQueueAndJobApart) {
  JobId id;
  EXPECT_EQ(Hex(id), "");
  EXPECT_EQ(id.queue_id_or_name_case(), JobId::QUEUE_ID_OR_NAME_NOT_SET);
  EXPECT_EQ(id.job_id_or_name_case(), JobId::JOB_ID_OR_NAME_NOT_SET);

  id.set_queue_id(0);
  EXPECT_EQ(Hex(id), "08 00");
  EXPECT_EQ(id.job_id_or_name_case(), JobId::JOB_ID_OR_NAME_NOT_SET);

  id.set_job_name("");
  EXPECT_EQ(Hex(id), "08 00 22 00");
  EXPECT_EQ(id.queue_id_or_name_case(), JobId::kQueueId);
  EXPECT_EQ(id.job_id_or_name_case(), JobId::kJobName);

  id.clear_queue_id_or_name();
  EXPECT_EQ(Hex(id), "22 00");
  EXPECT_EQ(id.job_id_or_name_case(), JobId::kJobName);

  id.set_queue_name("q");
  id.clear_job_id_or_name();
  EXPECT_EQ(Hex(id), "12 01 71");
  EXPECT_EQ(id.queue_id_or_name_case(), JobId::kQueueName);
}

TEST(AttrList, WritesKeyAndValueEvenIfZeroAndEmpty) {
  AttrList attributes;
  (*attributes.mutable_attr_list())[0];
  EXPECT_EQ(Hex(attributes), "0A 04 08 00 12 00");
  for (const char* const hex : {"0A 04 08 00 12 00", "0A 02 12 00", "0A 02 08 00", "0A 00"}) {
    EXPECT_EQ(Parse<AttrList>(hex).attr_list().count(0), 1U) << hex;
  }
}

TEST(AttrList, KeepsTheLastValueOfAKeyThatOccursTwice) {
  const auto attributes =
      Parse<AttrList>("0A 09 08 01 12 05 08 03 1A 01 61 0A 06 08 01 12 02 08 01");
  ASSERT_EQ(attributes.attr_list_size(), 1);
  EXPECT_EQ(Hex(attributes.attr_list().at(1)), "08 01");
}

}  // namespace
}  // namespace messages::jobqueue
