#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/timestamp.pb.h>
#include <gtest/gtest.h>
#include <qmsg/jobqueue.pb.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fields.h"
#include "wire.h"

namespace {

using google::protobuf::Timestamp;
using quor::protobuf::JQ::AttrList;
using quor::protobuf::JQ::Job;
using quor::protobuf::JQ::JobId;
using quor::protobuf::JQ::JobIdList;
using quor::protobuf::JQ::JobList;
using quor::protobuf::JQ::Queue;
using quor::protobuf::JQ::QueueId;
using quor::protobuf::JQ::QueueIdList;
using quor::protobuf::JQ::QueueList;
using quor::protobuf::JQ::Result;
using quor::protobuf::QuorPHP::QVal;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

std::string DeterministicHex(const google::protobuf::Message& message) {
  std::string bytes;
  google::protobuf::io::StringOutputStream stream(&bytes);
  {
    google::protobuf::io::CodedOutputStream output(&stream);
    output.SetSerializationDeterministic(true);
    EXPECT_TRUE(message.SerializeToCodedStream(&output));
  }
  return Hex(bytes);
}

// The entry type of the map stands before the message that contains it, as number 1.
TEST(JobQueueFile, NumbersItsMessagesInTheOrderOfTheirDeclaration) {
  EXPECT_EQ((std::vector<int>{Result::kIndexInFileMessages, AttrList::kIndexInFileMessages,
                              QueueId::kIndexInFileMessages, QueueIdList::kIndexInFileMessages,
                              Queue::kIndexInFileMessages, QueueList::kIndexInFileMessages,
                              JobId::kIndexInFileMessages, JobIdList::kIndexInFileMessages,
                              Job::kIndexInFileMessages, JobList::kIndexInFileMessages}),
            (std::vector<int>{0, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(JobQueueResult, HasItsFieldUnderItsTag) { ExpectField(PLAIN_NUMBER(Result, ok, bool), "08"); }

TEST(QueueId, HasItsFieldsUnderTheirTags) {
  ExpectField(ONEOF_NUMBER(QueueId, queue_id, int64_t), "08");
  ExpectField(ONEOF_TEXT(QueueId, queue_name), "12", "quor.protobuf.JQ.QueueId.queue_name");
}

TEST(Queue, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(Queue, queue_id, int64_t), "08");
  ExpectField(PLAIN_TEXT(Queue, queue_name), "12", "quor.protobuf.JQ.Queue.queue_name");
  ExpectField(PLAIN_NUMBER(Queue, status, int32_t), "18");
  ExpectField(SUB_MESSAGE(Queue, attr_list, AttrList), "22");
}

TEST(JobId, HasItsFieldsUnderTheirTags) {
  ExpectField(ONEOF_NUMBER(JobId, queue_id, int64_t), "08");
  ExpectField(ONEOF_TEXT(JobId, queue_name), "12", "quor.protobuf.JQ.JobId.queue_name");
  ExpectField(ONEOF_NUMBER(JobId, job_id, int64_t), "18");
  ExpectField(ONEOF_TEXT(JobId, job_name), "22", "quor.protobuf.JQ.JobId.job_name");
}

TEST(Job, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_NUMBER(Job, job_id, int64_t), "08");
  ExpectField(PLAIN_NUMBER(Job, type, int32_t), "10");
  ExpectField(SUB_MESSAGE(Job, attr_list, AttrList), "1A");
  ExpectField(SUB_MESSAGE(Job, created, Timestamp), "22");
  ExpectField(PLAIN_NUMBER(Job, queue_id, int64_t), "28");
  ExpectField(PLAIN_TEXT(Job, queue_name), "32", "quor.protobuf.JQ.Job.queue_name");
  ExpectField(PLAIN_TEXT(Job, env), "3A", "quor.protobuf.JQ.Job.env");
  ExpectField(PLAIN_TEXT(Job, args), "42", "quor.protobuf.JQ.Job.args");
  ExpectField(PLAIN_TEXT(Job, body), "4A", "quor.protobuf.JQ.Job.body");
  ExpectField(SUB_MESSAGE(Job, scheduled_time, Timestamp), "52");
  ExpectField(PLAIN_NUMBER(Job, status, int32_t), "58");
  ExpectField(PLAIN_NUMBER(Job, retry_count, int32_t), "60");
  ExpectField(PLAIN_TEXT(Job, output), "6A", "quor.protobuf.JQ.Job.output");
  ExpectField(SUB_MESSAGE(Job, completion_time, Timestamp), "72");
}

TEST(JobQueueLists, HaveTheirFieldsUnderTheirTags) {
  ExpectField(LIST(QueueIdList, ids, QueueId), "0A");
  ExpectField(LIST(QueueList, queues, Queue), "0A");
  ExpectField(LIST(JobIdList, ids, JobId), "0A");
  ExpectField(LIST(JobList, jobs, Job), "0A");
}

TEST(QueueId, NamesTheCasesOfItsOneofByTheFieldNumbers) {
  EXPECT_EQ((std::vector<int>{QueueId::ID_OR_NAME_NOT_SET, QueueId::kQueueId, QueueId::kQueueName}),
            (std::vector<int>{0, 1, 2}));
}

TEST(JobId, NamesTheCasesOfItsOneofsByTheFieldNumbers) {
  EXPECT_EQ((std::vector<int>{JobId::QUEUE_ID_OR_NAME_NOT_SET, JobId::kQueueId, JobId::kQueueName}),
            (std::vector<int>{0, 1, 2}));
  EXPECT_EQ((std::vector<int>{JobId::JOB_ID_OR_NAME_NOT_SET, JobId::kJobId, JobId::kJobName}),
            (std::vector<int>{0, 3, 4}));
}

TEST(JobQueueResult, IsWrittenAsTheBytesWorkedOutByHand) {
  Result result;
  result.set_ok(true);
  ExpectBytes(result, "08 01");
}

TEST(AttrList, IsWrittenAsTheBytesWorkedOutByHand) {
  AttrList attributes;
  QVal& value = (*attributes.mutable_attr_list())[3];
  value.set_value_type(QVal::INTEGER);
  value.set_int_value(4);
  ExpectBytes(attributes, "0A 08 08 03 12 04 08 04 20 04");
}

TEST(QueueId, IsWrittenAsTheBytesWorkedOutByHand) {
  QueueId id;
  id.set_queue_id(7);
  ExpectBytes(id, "08 07");
  id.set_queue_name("q");
  ExpectBytes(id, "12 01 71");
}

TEST(QueueIdList, IsWrittenAsTheBytesWorkedOutByHand) {
  QueueIdList list;
  list.add_ids()->set_queue_id(7);
  list.add_ids()->set_queue_name("q");
  ExpectBytes(list, "0A 02 08 07 0A 03 12 01 71");
}

TEST(Queue, IsWrittenAsTheBytesWorkedOutByHand) {
  Queue queue;
  queue.set_queue_id(1);
  queue.set_queue_name("q");
  queue.set_status(2);
  (*queue.mutable_attr_list()->mutable_attr_list())[3].set_value_type(QVal::NUL);
  ExpectBytes(queue,
              "08 01"
              "12 01 71"
              "18 02"
              "22 08 0A 06 08 03 12 02 08 01");
}

TEST(QueueList, IsWrittenAsTheBytesWorkedOutByHand) {
  QueueList list;
  list.add_queues()->set_queue_id(1);
  list.add_queues()->set_status(-1);
  ExpectBytes(list, "0A 02 08 01 0A 0B 18 FF FF FF FF FF FF FF FF FF 01");
}

TEST(JobId, IsWrittenAsTheBytesWorkedOutByHand) {
  JobId id;
  id.set_queue_name("q");
  id.set_job_id(9);
  ExpectBytes(id, "12 01 71 18 09");
  id.set_queue_id(8);
  id.set_job_name("j");
  ExpectBytes(id, "08 08 22 01 6A");
}

TEST(JobIdList, IsWrittenAsTheBytesWorkedOutByHand) {
  JobIdList list;
  list.add_ids()->set_job_id(9);
  list.add_ids()->set_job_name("j");
  ExpectBytes(list, "0A 02 18 09 0A 03 22 01 6A");
}

TEST(Job, IsWrittenAsTheBytesWorkedOutByHand) {
  Job job;
  job.set_job_id(1);
  job.set_type(2);
  (*job.mutable_attr_list()->mutable_attr_list())[3].set_int_value(4);
  job.mutable_created()->set_seconds(5);
  job.set_queue_id(6);
  job.set_queue_name("q");
  job.set_env("e");
  job.set_args("a");
  job.set_body("b");
  job.mutable_scheduled_time()->set_seconds(10);
  job.set_status(11);
  job.set_retry_count(12);
  job.set_output("o");
  job.mutable_completion_time()->set_seconds(14);
  ExpectBytes(job,
              "08 01"
              "10 02"
              "1A 08 0A 06 08 03 12 02 20 04"
              "22 02 08 05"
              "28 06"
              "32 01 71"
              "3A 01 65"
              "42 01 61"
              "4A 01 62"
              "52 02 08 0A"
              "58 0B"
              "60 0C"
              "6A 01 6F"
              "72 02 08 0E");
}

TEST(JobList, IsWrittenAsTheBytesWorkedOutByHand) {
  JobList list;
  list.add_jobs()->set_job_id(1);
  list.add_jobs()->set_output("o");
  ExpectBytes(list, "0A 02 08 01 0A 03 6A 01 6F");
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

TEST(AttrList, WritesItsKeysInAscendingOrderIfAskedTo) {
  AttrList attributes;
  auto& map = *attributes.mutable_attr_list();
  map[5].set_value_type(QVal::NUL);
  map[-1].set_int_value(0);
  map[3];
  EXPECT_EQ(attributes.attr_list_size(), 3);
  EXPECT_EQ(DeterministicHex(attributes),
            "0A 0F 08 FF FF FF FF FF FF FF FF FF 01 12 02 20 00 "
            "0A 04 08 03 12 00 "
            "0A 06 08 05 12 02 08 01");
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

TEST(AttrList, TakesTheSourcesValueWhenMerged) {
  auto target = Parse<AttrList>("0A 06 08 01 12 02 20 01 0A 06 08 02 12 02 20 02");
  target.MergeFrom(Parse<AttrList>("0A 06 08 02 12 02 20 09 0A 06 08 03 12 02 20 03"));
  EXPECT_EQ(DeterministicHex(target),
            "0A 06 08 01 12 02 20 01 0A 06 08 02 12 02 20 09 0A 06 08 03 12 02 20 03");
}

TEST(AttrList, HasNoPairsOnceCleared) {
  auto attributes = Parse<AttrList>("0A 04 08 01 12 00");
  attributes.clear_attr_list();
  EXPECT_EQ(attributes.attr_list_size(), 0);
  EXPECT_TRUE(attributes.attr_list().empty());
  EXPECT_EQ(Hex(attributes), "");
}

TEST(Job, WritesABodyThatIsNotUtf8ButDoesNotReadIt) {
  Job job;
  job.set_job_id(1);
  job.set_body("a\xC3(");
  wire::ExpectInvalidTextIsWrittenButNotRead(job, "08 01 4A 03 61 C3 28",
                                             "quor.protobuf.JQ.Job.body");
}

TEST(Job, CarriesAnyCodeAndCount) {
  const std::string bytes =
      "10 FF FF FF FF FF FF FF FF FF 01 "
      "58 80 80 80 80 F8 FF FF FF FF 01 "
      "60 FF FF FF FF 07";
  const auto job = Parse<Job>(bytes);
  EXPECT_EQ(job.type(), -1);
  EXPECT_EQ(job.status(), INT32_MIN);
  EXPECT_EQ(job.retry_count(), INT32_MAX);
  EXPECT_EQ(Hex(job), bytes);
}

}  // namespace
