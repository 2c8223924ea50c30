#include <gtest/gtest.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <type_traits>

#include "support/hex_bytes.h"

namespace messages::tarq {
namespace {

using quor::protobuf::QuorPHP::SuperglobalVariable;
using quor::protobuf::Tarq::RawPostData;
using quor::protobuf::Tarq::ResponseHeaders;
using quor::protobuf::Tarq::Storage;
using quor::protobuf::Tarq::StorageData;
using quor::protobuf::Tarq::Superglobals;
using wire::ExpectBytes;
using wire::ExpectComplaint;
using wire::Hex;
using wire::Parse;

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

TEST(TarqResponseHeaders, IsWrittenAsTheBytesWorkedOutByHand) {
  ResponseHeaders headers;
  headers.set_queue_id("r");
  headers.add_headers("c");
  headers.add_headers("c");
  ExpectBytes(headers, "0A 01 72 12 01 63 12 01 63");
}

TEST(TarqStorage, IsNotReadIfAnEntryIsNotUtf8) {
  LogRecorder log;
  Storage storage;
  EXPECT_FALSE(storage.ParseFromString(wire::Bytes("0A 01 71 1A 03 0A 01 C0")));
  ExpectComplaint(log.Take(), "quor.protobuf.Tarq.StorageData.key", "parsing");
  EXPECT_EQ(storage.queue_id(), "q");
}

TEST(TarqRawPostData, CarriesALengthThatIsNotThatOfItsData) {
  RawPostData post;
  post.set_content_length(100);
  post.set_data("abc");
  ExpectBytes(post, "18 64 22 03 61 62 63");
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

TEST(TarqStorage, KeepsTwoEntriesOfOneKey) {
  EXPECT_EQ(Hex(Parse<Storage>("1A 03 0A 01 6B 1A 03 0A 01 6B")), "1A 03 0A 01 6B 1A 03 0A 01 6B");
}

TEST(TarqRawPostData, TakesTheLastOfAFieldThatArrivesTwice) {
  EXPECT_EQ(Hex(Parse<RawPostData>("18 05 22 01 61 18 06 22 01 62")), "18 06 22 01 62");
}

}  // namespace
}  // namespace messages::tarq
