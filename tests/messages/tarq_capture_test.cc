#include <gtest/gtest.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <cstdint>
#include <string>
#include <type_traits>

#include "fields.h"
#include "wire.h"

namespace {

using quor::protobuf::QuorPHP::SuperglobalVariable;
using quor::protobuf::Tarq::RawPostData;
using quor::protobuf::Tarq::RequestHeaders;
using quor::protobuf::Tarq::ResponseBody;
using quor::protobuf::Tarq::ResponseHeaders;
using quor::protobuf::Tarq::Storage;
using quor::protobuf::Tarq::StorageData;
using quor::protobuf::Tarq::Superglobals;
using wire::ExpectBytes;
using wire::ExpectComplaint;
using wire::Hex;
using wire::Parse;

TEST(TarqStorageData, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(StorageData, key), "0A", "quor.protobuf.Tarq.StorageData.key");
  ExpectField(TEXT_LIST(StorageData, data), "12", "quor.protobuf.Tarq.StorageData.data");
}

TEST(TarqStorage, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(Storage, queue_id), "0A", "quor.protobuf.Tarq.Storage.queue_id");
  ExpectField(PLAIN_TEXT(Storage, name_space), "12", "quor.protobuf.Tarq.Storage.name_space");
  ExpectField(LIST(Storage, storage, StorageData), "1A");
}

TEST(TarqSuperglobals, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(Superglobals, queue_id), "0A", "quor.protobuf.Tarq.Superglobals.queue_id");
  ExpectField(LIST(Superglobals, variables, SuperglobalVariable), "12");
}

TEST(TarqRequestHeaders, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(RequestHeaders, queue_id), "0A",
              "quor.protobuf.Tarq.RequestHeaders.queue_id");
  ExpectField(TEXT_LIST(RequestHeaders, headers), "12",
              "quor.protobuf.Tarq.RequestHeaders.headers");
}

TEST(TarqRawPostData, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(RawPostData, queue_id), "0A", "quor.protobuf.Tarq.RawPostData.queue_id");
  ExpectField(PLAIN_TEXT(RawPostData, content_type), "12",
              "quor.protobuf.Tarq.RawPostData.content_type");
  ExpectField(PLAIN_NUMBER(RawPostData, content_length, int64_t), "18");
  ExpectField(PLAIN_TEXT(RawPostData, data), "22", "quor.protobuf.Tarq.RawPostData.data");
}

TEST(TarqResponseHeaders, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(ResponseHeaders, queue_id), "0A",
              "quor.protobuf.Tarq.ResponseHeaders.queue_id");
  ExpectField(TEXT_LIST(ResponseHeaders, headers), "12",
              "quor.protobuf.Tarq.ResponseHeaders.headers");
}

TEST(TarqResponseBody, HasItsFieldsUnderTheirTags) {
  ExpectField(PLAIN_TEXT(ResponseBody, queue_id), "0A", "quor.protobuf.Tarq.ResponseBody.queue_id");
  ExpectField(PLAIN_TEXT(ResponseBody, content_type), "12",
              "quor.protobuf.Tarq.ResponseBody.content_type");
  ExpectField(PLAIN_TEXT(ResponseBody, body), "1A", "quor.protobuf.Tarq.ResponseBody.body");
}

TEST(TarqSuperglobals, AreNotTheSuperglobalsOfMonitoring) {
  EXPECT_FALSE((std::is_same_v<Superglobals, quor::protobuf::Monitor::Superglobals>));
  EXPECT_EQ(Superglobals().GetTypeName(), "quor.protobuf.Tarq.Superglobals");
}

TEST(TarqStorageData, IsWrittenAsTheBytesWorkedOutByHand) {
  StorageData entry;
  entry.set_key("k");
  entry.add_data("a");
  entry.add_data("");
  entry.add_data("b");
  ExpectBytes(entry, "0A 01 6B 12 01 61 12 00 12 01 62");
}

TEST(TarqStorage, IsWrittenAsTheBytesWorkedOutByHand) {
  Storage storage;
  storage.set_queue_id("q");
  storage.set_name_space("n");
  StorageData* const first = storage.add_storage();
  first->set_key("k");
  first->add_data("v");
  storage.add_storage()->set_key("k");
  ExpectBytes(storage,
              "0A 01 71"
              "12 01 6E"
              "1A 06 0A 01 6B 12 01 76"
              "1A 03 0A 01 6B");
}

TEST(TarqSuperglobals, IsWrittenAsTheBytesWorkedOutByHand) {
  Superglobals superglobals;
  superglobals.set_queue_id("q");
  SuperglobalVariable* const variable = superglobals.add_variables();
  variable->set_name("G");
  variable->add_values()->set_key("k");
  ExpectBytes(superglobals, "0A 01 71 12 08 0A 01 47 12 03 0A 01 6B");
}

TEST(TarqRequestHeaders, IsWrittenAsTheBytesWorkedOutByHand) {
  RequestHeaders headers;
  headers.set_queue_id("q");
  headers.add_headers("a");
  headers.add_headers("b");
  ExpectBytes(headers, "0A 01 71 12 01 61 12 01 62");
}

TEST(TarqRawPostData, IsWrittenAsTheBytesWorkedOutByHand) {
  RawPostData post;
  post.set_queue_id("q");
  post.set_content_type("t");
  post.set_content_length(4294967296);
  post.set_data("d");
  ExpectBytes(post,
              "0A 01 71"
              "12 01 74"
              "18 80 80 80 80 10"
              "22 01 64");
}

TEST(TarqResponseHeaders, IsWrittenAsTheBytesWorkedOutByHand) {
  ResponseHeaders headers;
  headers.set_queue_id("r");
  headers.add_headers("c");
  headers.add_headers("c");
  ExpectBytes(headers, "0A 01 72 12 01 63 12 01 63");
}

TEST(TarqResponseBody, IsWrittenAsTheBytesWorkedOutByHand) {
  ResponseBody body;
  body.set_queue_id("q");
  body.set_content_type("t");
  body.set_body("b");
  ExpectBytes(body, "0A 01 71 12 01 74 1A 01 62");
}

TEST(TarqRequestHeaders, WritesAnEmptyHeaderToo) {
  RequestHeaders headers;
  headers.add_headers("");
  headers.add_headers("A: b");
  EXPECT_EQ(Hex(headers), "12 00 12 04 41 3A 20 62");
  const auto read = Parse<RequestHeaders>("12 00 12 04 41 3A 20 62");
  ASSERT_EQ(read.headers_size(), 2);
  EXPECT_EQ(read.headers(0), "");
  EXPECT_EQ(read.headers(1), "A: b");
}

TEST(TarqResponseBody, WritesALoneByte80ButDoesNotReadIt) {
  ResponseBody body;
  body.set_body("\x80");
  wire::ExpectInvalidTextIsWrittenButNotRead(body, "1A 01 80",
                                             "quor.protobuf.Tarq.ResponseBody.body");
}

TEST(TarqStorageData, IsNotReadIfItsSecondValueIsNotUtf8) {
  LogRecorder log;
  StorageData entry;
  EXPECT_FALSE(entry.ParseFromString(wire::Bytes("12 01 61 12 01 FF 12 01 62")));
  ExpectComplaint(log.Take(), "quor.protobuf.Tarq.StorageData.data", "parsing");
  ASSERT_GE(entry.data_size(), 1);
  EXPECT_EQ(entry.data(0), "a");
}

TEST(TarqStorage, IsNotReadIfAnEntryIsNotUtf8) {
  LogRecorder log;
  Storage storage;
  EXPECT_FALSE(storage.ParseFromString(wire::Bytes("0A 01 71 1A 03 0A 01 C0")));
  ExpectComplaint(log.Take(), "quor.protobuf.Tarq.StorageData.key", "parsing");
  EXPECT_EQ(storage.queue_id(), "q");
}

TEST(TarqRawPostData, WritesALengthUnlessItIsZero) {
  RawPostData post;
  post.set_content_length(-1);
  EXPECT_EQ(Hex(post), "18 FF FF FF FF FF FF FF FF FF 01");
  EXPECT_EQ(Parse<RawPostData>("18 FF FF FF FF FF FF FF FF FF 01").content_length(), -1);
  post.set_content_length(0);
  EXPECT_EQ(Hex(post), "");
}

TEST(TarqRawPostData, CarriesALengthThatIsNotThatOfItsData) {
  RawPostData post;
  post.set_content_length(100);
  post.set_data("abc");
  ExpectBytes(post, "18 64 22 03 61 62 63");
}

TEST(TarqStorage, WritesAQueueIdAlone) {
  Storage storage;
  storage.set_queue_id("17");
  storage.set_name_space("");
  EXPECT_EQ(Hex(storage), "0A 02 31 37");
}

TEST(TarqSuperglobals, AppendsVariablesAfterItsOwnWhenMerged) {
  Superglobals target;
  for (const char* const name : {"a", "b"}) {
    target.add_variables()->set_name(name);
  }
  Superglobals source;
  for (const char* const name : {"c", "a", "d"}) {
    source.add_variables()->set_name(name);
  }
  target.MergeFrom(source);
  ASSERT_EQ(target.variables_size(), 5);
  EXPECT_EQ(Hex(target),
            "12 03 0A 01 61 12 03 0A 01 62 12 03 0A 01 63 12 03 0A 01 61 12 03 0A 01 64");
  EXPECT_EQ(source.variables_size(), 3);
}

TEST(TarqRequestHeaders, KeepsRepeatedHeadersInOrderWhenMerged) {
  auto target = Parse<RequestHeaders>("0A 01 71 12 01 62 12 01 61 18 01");
  target.MergeFrom(Parse<RequestHeaders>("12 01 61 12 01 62 20 02"));
  EXPECT_EQ(Hex(target), "0A 01 71 12 01 62 12 01 61 12 01 61 12 01 62 18 01 20 02");
}

TEST(TarqStorage, KeepsTwoEntriesOfOneKey) {
  EXPECT_EQ(Hex(Parse<Storage>("1A 03 0A 01 6B 1A 03 0A 01 6B")), "1A 03 0A 01 6B 1A 03 0A 01 6B");
}

TEST(TarqRawPostData, TakesTheLastOfAFieldThatArrivesTwice) {
  EXPECT_EQ(Hex(Parse<RawPostData>("18 05 22 01 61 18 06 22 01 62")), "18 06 22 01 62");
}

TEST(TarqRawPostData, MergesWhatIsSetAndIsEmptyOnceCleared) {
  auto post = Parse<RawPostData>("0A 01 71 12 01 74 18 05 22 01 61");
  post.MergeFrom(Parse<RawPostData>("22 01 62 28 01"));
  EXPECT_EQ(Hex(post), "0A 01 71 12 01 74 18 05 22 01 62 28 01");
  post.Clear();
  EXPECT_EQ(Hex(post), "");
}

}  // namespace
