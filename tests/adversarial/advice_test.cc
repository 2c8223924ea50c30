// The programs of docs/hostile-input.md do what the page says.

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <new>
#include <random>
#include <vector>

#include "lengths.h"
#include "shapes.h"
#include "support/heap_use.h"
#include "support/message_list.h"
#include "support/wire.h"

namespace hostile {
namespace {

using namespace std::string_literals;
using contract::wire::Varint;
namespace io = google::protobuf::io;

// Reads one message that follows its length. False at the end, and for what is refused.
bool ReadFrame(io::ZeroCopyInputStream& stream, int max_size, google::protobuf::Message& message) {
  std::string bytes;
  io::CodedInputStream input(&stream);  // gives back what it did not use when it is destroyed
  int size = 0;
  return input.ReadVarintSizeAsInt(&size) && size <= max_size && input.ReadString(&bytes, size) &&
         message.ParseFromString(bytes);
}

TEST(ReadFrame, ReadsOneMessageAfterTheOther) {
  const std::string bytes = "\x03\x0a\x01w\x00\x03\x0a\x01x"s;
  io::ArrayInputStream stream(bytes.data(), static_cast<int>(bytes.size()), 2);
  quor::protobuf::Login::Login login;
  for (const char* hostname : {"w", "", "x"}) {
    ASSERT_TRUE(ReadFrame(stream, 3, login));
    EXPECT_EQ(login.hostname(), hostname);
  }
  EXPECT_FALSE(ReadFrame(stream, 3, login));
}

TEST(ReadFrame, RefusesWhatIsTooLargeBeforeItTakesMemory) {
  std::vector<std::string> frames = {"\x04\x0a\x02wx", "\x03\x0a\x01", "\x03\x0a\x02w",
                                     Varint((std::uint64_t{1} << 32) + 3) + "\x0a\x01w"};
  for (const Promise& promise : Promises()) {
    frames.push_back(promise.length + "\x0a\x01w");
    frames.push_back(Varint(1 + promise.length.size()) + "\x0a" + promise.length);
  }
  for (const std::string& frame : frames) {
    for (const int max_size : {3, 11}) {
      if (max_size == 11 && frame[0] == '\x04') {
        continue;
      }
      io::ArrayInputStream stream(frame.data(), static_cast<int>(frame.size()), 2);
      quor::protobuf::Login::Login login;
      EXPECT_LE(heap_use::PeakDuring([&] { EXPECT_FALSE(ReadFrame(stream, max_size, login)); }),
                256U);
    }
  }
}

TEST(ReadFrame, ThrowsNothingWhateverTheBytes) {
  std::minstd_rand random(1);
  for (int i = 0; i < 20000; ++i) {
    std::string bytes(random() % 40, '\0');
    for (char& byte : bytes) {
      byte = "\x00\x03\x08\x0a\x12\x2a\x42"[random() % 7];
    }
    io::ArrayInputStream stream(bytes.data(), static_cast<int>(bytes.size()),
                                1 + static_cast<int>(random() % 20));
    quor::protobuf::Tarq::SqlQuery query;
    EXPECT_NO_THROW(ReadFrame(stream, 30, query));
  }
}

TEST(BoundedStream, ThrowsWhenDamagedBytesEndBeforeTheirTime) {
  const std::string bytes(2, '\0');
  io::ArrayInputStream stream(bytes.data(), static_cast<int>(bytes.size()));
  quor::protobuf::Tarq::SqlQuery query;
  EXPECT_THROW(query.ParseFromBoundedZeroCopyStream(&stream, 3), google::protobuf::FatalException);
}

// Bytes of memory for each byte of a message, at most, on the heap or on an arena.
constexpr std::size_t kMemoryPerByte = 100;

std::size_t MaxMessageSize(std::size_t memory) { return memory / kMemoryPerByte; }

TEST(MaxMessageSize, KeepsEachShapeWithinTheMemory) {
  constexpr std::size_t kMemory = 50 * kMebibyte;
  for (const Shape& shape : Shapes()) {
    if (!shape.accepted) {
      continue;
    }
    SCOPED_TRACE(shape.name);
    const std::string bytes = shape.bytes(MaxMessageSize(kMemory));
    EXPECT_LE(heap_use::PeakDuring([&] {
                google::protobuf::Arena arena;
                EXPECT_TRUE(shape.prototype->New(&arena)->ParseFromString(bytes));
              }),
              kMemory);
  }
}

// Calls handle(queries) for each message that can be read.
template <class Handle>
void HandleEach(const std::vector<std::string>& messages, const Handle& handle) {
  std::vector<char> block(262144);
  google::protobuf::ArenaOptions options;
  options.initial_block = block.data();
  options.initial_block_size = block.size();
  options.max_block_size = 65536;
  google::protobuf::Arena arena(options);
  for (const std::string& bytes : messages) {
    auto* queries =
        google::protobuf::Arena::CreateMessage<quor::protobuf::Tarq::SqlQueries>(&arena);
    if (queries->ParseFromString(bytes)) {
      handle(*queries);
    }
    arena.Reset();  // frees all but the block
  }
}

TEST(HandleEach, HoldsNoMoreThanOneMessage) {
  const std::vector<std::string> messages(20, Repeated("\x12\x00"s, kMebibyte / 16));
  int handled = 0;
  const std::size_t peak = heap_use::PeakDuring([&] {
    HandleEach(messages, [&](const auto& queries) {
      EXPECT_EQ(queries.queries_size(), kMebibyte / 32);
      ++handled;
    });
  });
  EXPECT_EQ(handled, 20);
  EXPECT_LE(peak, kMemoryPerByte * kMebibyte / 16 + 262144);
}

TEST(HandleEach, TakesOnlyItsBlockForCommonMessages) {
  const std::vector<std::string> messages(20, Repeated("\x12\x00"s, 1000));
  const std::size_t before = heap_use::Allocations();
  HandleEach(messages, [](const auto& /*queries*/) {});
  EXPECT_EQ(heap_use::Allocations() - before, 1U);
}

// Gives memory back that a message kept from earlier contents.
template <class M>
void DropIfLarge(M& message, std::size_t most) {
  message.Clear();
  if (message.SpaceUsedLong() > most) {
    message = M();
  }
}

TEST(DropIfLarge, KeepsASmallMessageAndDropsALargeOne) {
  for (const int elements : {10, 100000}) {
    const std::size_t before = heap_use::Bytes();
    quor::protobuf::JQ::JobList list;
    for (int i = 0; i < elements; ++i) {
      list.add_jobs();
    }
    DropIfLarge(list, 4096);
    EXPECT_EQ(heap_use::Bytes() - before > 0, elements == 10);
  }
}

// Whether to act on a message that was read, and without what this program does not know.
bool Admit(quor::protobuf::Tarq::SqlQueries& message) {
  constexpr int kMaxQueries = 10000;
  message.DiscardUnknownFields();
  return message.queries_size() <= kMaxQueries;
}

TEST(Admit, CountsQueriesAndFreesWhatUnknownFieldsHold) {
  quor::protobuf::Tarq::SqlQueries message;
  ASSERT_TRUE(message.ParseFromString(Repeated("\x12\x00"s, 20000)));
  EXPECT_TRUE(Admit(message));
  message.add_queries();
  EXPECT_FALSE(Admit(message));

  const std::size_t before = heap_use::Bytes();
  quor::protobuf::Tarq::SqlQueries unknown;
  ASSERT_TRUE(unknown.ParseFromString(Repeated("\x7a\x00"s, kMebibyte)));
  ASSERT_GE(heap_use::Bytes() - before, 32 * kMebibyte);
  EXPECT_TRUE(Admit(unknown));
  // The vector of 16 bytes for each stays.
  EXPECT_LE(heap_use::Bytes() - before, 8 * kMebibyte + 8192);
}

// Reads bytes with at most `depth` messages and groups inside each other.
bool ParseShallow(const std::string& bytes, int depth, google::protobuf::Message& message) {
  io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                             static_cast<int>(bytes.size()));
  input.SetRecursionLimit(depth);
  return message.ParseFromCodedStream(&input) && input.ConsumedEntireMessage();
}

TEST(ParseShallow, ReadsWhatTheSchemaCanHoldAtSevenLevels) {
  quor::protobuf::Tarq::SqlQueries deepest;
  deepest.add_queries()
      ->mutable_stack_trace()
      ->add_frames()
      ->mutable_function_args()
      ->add_values()
      ->mutable_value()
      ->mutable_tm_value();
  const std::string bytes = deepest.SerializeAsString();
  quor::protobuf::Tarq::SqlQueries read;
  EXPECT_TRUE(ParseShallow(bytes, 7, read));
  EXPECT_EQ(read.SerializeAsString(), bytes);
  EXPECT_FALSE(ParseShallow(bytes, 6, read));
  EXPECT_TRUE(ParseShallow(NestedGroups(7), 7, read));
  EXPECT_FALSE(ParseShallow(NestedGroups(8), 7, read));
  EXPECT_FALSE(ParseShallow("\x7c", 7, read));
}

// Lets the process have `bytes` of address space, its libraries included.
bool LimitMemory(std::size_t bytes) {
  const rlimit limit = {bytes, bytes};
  return setrlimit(RLIMIT_AS, &limit) == 0;
}

// Whether `bytes` could be read; throws nothing if memory ends.
bool ParseWithin(const std::string& bytes) {
  try {
    google::protobuf::Arena arena;
    auto* jobs = google::protobuf::Arena::CreateMessage<quor::protobuf::JQ::JobList>(&arena);
    return jobs->ParseFromString(bytes);  // use the message here
  } catch (const std::bad_alloc&) {
    return false;
  }
}

TEST(LimitMemory, EndsAReadingThatTheProcessSurvives) {
#if QMSG_SANITIZED
  GTEST_SKIP() << "a sanitizer itself takes terabytes of address space";
#endif
  const auto limited = [] {
    const std::string bytes = Repeated("\x0a\x00"s, 8 * kMebibyte);
    if (!LimitMemory(256 * kMebibyte)) {
      std::exit(1);
    }
    if (ParseWithin(bytes)) {
      std::exit(2);
    }
    std::exit(ParseWithin("\x0a\x00"s) ? 0 : 3);
  };
  EXPECT_EXIT(limited(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace hostile
