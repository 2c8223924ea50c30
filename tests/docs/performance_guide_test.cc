// Tests the code of docs/performance-guide.md, and its statements about memory.

#include <gtest/gtest.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/monitor.pb.h>

#include <string>
#include <string_view>

#include "bench/guide.h"
#include "bench/workloads.h"
#include "support/heap_use.h"

namespace {

using namespace std::string_literals;
using google::protobuf::Arena;
using google::protobuf::ArenaOptions;
namespace JQ = quor::protobuf::JQ;
namespace Monitor = quor::protobuf::Monitor;
namespace Tarq = quor::protobuf::Tarq;

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

// SQL statements of 100 bytes, each with a stack trace.
Tarq::SqlQueries Statements(int count) {
  Tarq::SqlQueries queries;
  for (int i = 0; i < count; ++i) {
    auto* query = queries.add_queries();
    query->set_query(std::string(100, 'a'));
    query->set_rows(i);
    query->mutable_stack_trace()->add_frames()->set_file_name(std::string(40, 'b'));
  }
  return queries;
}

template <typename Reader>
void ExpectOneMessageAfterTheOther(Reader& reader) {
  for (const char* text : {"w", "x"}) {
    const auto* headers = reader.Read("\x12\x01"s + text);
    ASSERT_NE(headers, nullptr);
    ASSERT_EQ(headers->headers_size(), 1);
    EXPECT_EQ(headers->headers(0), text);
  }
  EXPECT_EQ(reader.Read("\x12\x05w"), nullptr);
  ASSERT_NE(reader.Read(""), nullptr);
  EXPECT_EQ(reader.Read("")->headers_size(), 0);
}

TEST(ArenaReader, ReadsOneMessageAfterTheOther) {
  guide::ArenaReader<Tarq::RequestHeaders> reader(4096);
  ExpectOneMessageAfterTheOther(reader);
}

// Only short strings are stored inside their objects.
TEST(ArenaReader, AllocatesNothingForMessagesThatFitItsBlock) {
  const std::string bytes = "\x12\x01w\x12\x01x"s;
  guide::ArenaReader<Tarq::RequestHeaders> fits(4096);
  guide::ArenaReader<Tarq::RequestHeaders> too_small(200);
  const std::size_t before = heap_use::Allocations();
  for (int i = 0; i < 1000; ++i) {
    ASSERT_NE(fits.Read(bytes), nullptr);
  }
  EXPECT_EQ(heap_use::Allocations() - before, 0U);
  ASSERT_NE(too_small.Read(bytes), nullptr);
  EXPECT_GT(heap_use::Allocations() - before, 0U);
}

// All measured messages except the one that consists of long strings.
struct SpaceOnArena {
  template <class M>
  void operator()(const std::string& workload) const {
    SCOPED_TRACE(workload);
    const std::string bytes = bench::BytesOf(bench::Filled<M>());
    Arena arena;
    ASSERT_TRUE(Arena::CreateMessage<M>(&arena)->ParseFromString(bytes));
    EXPECT_LE(arena.SpaceUsed(), bytes.size() * 5 / 2);
    if (workload != "Text") {
      EXPECT_GE(arena.SpaceUsed(), bytes.size() * 3 / 2);
    }
  }
};

TEST(Arena, TakesUpToTwoAndAHalfBytesForEachByteOfAMessage) {
  bench::ForEachWorkload(SpaceOnArena());
}

TEST(Arena, TakesAWholeStartBlockForASmallMessage) {
  ArenaOptions options;
  options.start_block_size = kMebibyte;
  options.max_block_size = kMebibyte;
  Arena arena(options);
  Arena::CreateMessage<JQ::QueueId>(&arena);
  EXPECT_EQ(arena.SpaceAllocated(), kMebibyte);
}

TEST(Arena, ThatIsNeverResetGrowsWithEachMessage) {
  const std::string bytes = Statements(10).SerializeAsString();
  Arena arena;
  Arena::CreateMessage<Tarq::SqlQueries>(&arena)->ParseFromString(bytes);
  const auto one = arena.SpaceUsed();
  for (int i = 1; i < 100; ++i) {
    Arena::CreateMessage<Tarq::SqlQueries>(&arena)->ParseFromString(bytes);
  }
  EXPECT_GT(arena.SpaceUsed(), 90 * one);
}

TEST(ReusingReader, ReadsOneMessageAfterTheOther) {
  guide::ReusingReader<Tarq::RequestHeaders> reader(100);
  ExpectOneMessageAfterTheOther(reader);
}

TEST(ReusingReader, AllocatesNothingForMessagesItHasRoomFor) {
  const std::string bytes = "\x12\x28"s + std::string(40, 'a');
  guide::ReusingReader<Tarq::RequestHeaders> reader(10 * bytes.size());
  ASSERT_NE(reader.Read(bytes), nullptr);
  const std::size_t before = heap_use::Allocations();
  for (int i = 1; i < 10; ++i) {
    ASSERT_NE(reader.Read(bytes), nullptr);
  }
  EXPECT_EQ(heap_use::Allocations() - before, 0U);
  ASSERT_NE(reader.Read(bytes), nullptr);  // more than `most`
  EXPECT_GT(heap_use::Allocations() - before, 0U);
}

// One long string, in another element each time.
TEST(ReusingReader, KeepsNoMoreThanItsBound) {
  constexpr std::size_t kText = 65536;
  const std::size_t before = heap_use::Bytes();
  guide::ReusingReader<Tarq::RequestHeaders> reader(4 * kText + 4096);
  for (int round = 0; round < 50; ++round) {
    std::string bytes;
    for (int i = 0; i < round; ++i) {
      bytes += "\x12\x00"s;
    }
    bytes += "\x12\x80\x80\x04"s + std::string(kText, 'a');
    ASSERT_NE(reader.Read(bytes), nullptr);
    EXPECT_LE(heap_use::Bytes() - before, 7 * kText);  // this round's bytes included
  }
}

TEST(ClearedMessage, KeepsElementsAndStringsButNotSingularSubMessages) {
  Monitor::Event event;
  event.set_rule_name(std::string(100, 'a'));
  const std::size_t without = heap_use::Bytes();
  event.mutable_function()->set_function_name(std::string(100, 'b'));
  event.Clear();
  EXPECT_EQ(heap_use::Bytes(), without);

  Tarq::RequestHeaders headers;
  headers.add_headers(std::string(100, 'c'));
  const std::size_t full = heap_use::Bytes();
  headers.Clear();
  EXPECT_EQ(heap_use::Bytes(), full);
}

TEST(FrameWriter, WritesTheLengthAndTheMessage) {
  guide::FrameWriter writer;
  Tarq::RequestHeaders headers;
  headers.add_headers("w");
  EXPECT_EQ(writer.Write(headers), "\x03\x12\x01w");
  headers.set_headers(0, std::string(126, 'x'));
  EXPECT_EQ(writer.Write(headers), "\x80\x01\x12\x7e" + std::string(126, 'x'));
  headers.clear_headers();
  EXPECT_EQ(writer.Write(headers), "\0"s);
}

TEST(FrameWriter, AllocatesNothingForMessagesItHasRoomFor) {
  guide::FrameWriter writer;
  const Tarq::SqlQueries large = Statements(20);
  const Tarq::SqlQueries small = Statements(2);
  writer.Write(large);
  const std::size_t before = heap_use::Allocations();
  writer.Write(small);
  writer.Write(large);
  EXPECT_EQ(heap_use::Allocations() - before, 0U);
}

// Reflection builds descriptors, and lists the fields of each message that it writes.
TEST(SubMessages, AreReadAndWrittenWithoutReflection) {
  const std::string bytes = "\x22\x03\x0a\x01w"s;  // function { function_name: "w" }
  guide::ArenaReader<Monitor::Event> reader(4096);
  guide::FrameWriter writer;
  writer.Write(Statements(1));
  const std::size_t before = heap_use::Allocations();
  const auto* event = reader.Read(bytes);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(writer.Write(*event).substr(1), bytes);
  EXPECT_EQ(heap_use::Allocations() - before, 0U);
}

void ExpectMoved(Tarq::SqlQueries& from, Tarq::SqlQueries& to, bool same_objects) {
  from = Statements(3);
  to = Statements(2);
  const std::string* text = from.mutable_queries(2)->mutable_query();
  const auto* stack = &from.queries(2).stack_trace();
  guide::MoveQueries(from, to);
  EXPECT_EQ(from.queries_size(), 0);
  ASSERT_EQ(to.queries_size(), 5);
  EXPECT_EQ(to.queries(1).rows(), 1);
  EXPECT_EQ(to.queries(4).SerializeAsString(), Statements(3).queries(2).SerializeAsString());
  EXPECT_EQ(to.mutable_queries(4)->mutable_query() == text, same_objects);
  EXPECT_EQ(&to.queries(4).stack_trace() == stack, same_objects);
}

TEST(MoveQueries, MovesWithoutCopiesOnTheHeapAndOnOneArena) {
  Tarq::SqlQueries from;
  Tarq::SqlQueries to;
  ExpectMoved(from, to, true);
  Arena arena;
  ExpectMoved(*Arena::CreateMessage<Tarq::SqlQueries>(&arena),
              *Arena::CreateMessage<Tarq::SqlQueries>(&arena), true);
}

TEST(MoveQueries, CopiesFromAnArenaToTheHeapAndToAnotherArena) {
  Arena arena;
  Arena other;
  Tarq::SqlQueries heap;
  ExpectMoved(*Arena::CreateMessage<Tarq::SqlQueries>(&arena), heap, false);
  ExpectMoved(*Arena::CreateMessage<Tarq::SqlQueries>(&arena),
              *Arena::CreateMessage<Tarq::SqlQueries>(&other), false);
}

}  // namespace
