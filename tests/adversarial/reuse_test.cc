// What a message or an arena that is used again keeps of what it held before.

#include <gtest/gtest.h>

#include "reading.h"
#include "shapes.h"
#include "support/heap_use.h"
#include "support/message_list.h"
#include "support/wire.h"

namespace hostile {
namespace {

using namespace std::string_literals;
using contract::wire::LengthDelimitedField;
using google::protobuf::Arena;
namespace JQ = quor::protobuf::JQ;
namespace Monitor = quor::protobuf::Monitor;
namespace Tarq = quor::protobuf::Tarq;

constexpr int kRounds = 50;
constexpr std::size_t kText = std::size_t{64} * 1024;

// A list whose element number `place` is long and whose others are empty.
std::string OneLongHeader(int place) {
  return Repeated("\x12\x00"s, 2 * static_cast<std::size_t>(place)) +
         LengthDelimitedField(2, std::string(kText, 'a'));
}

TEST(ClearedMessage, KeepsTheElementsOfItsLists) {
  if (!kFiguresApply) {
    GTEST_SKIP() << "other objects have other figures";
  }
  const std::string bytes = Repeated("\x0a\x00"s, kMebibyte);
  {
    // Looking at sizes builds descriptors, which stay.
    JQ::JobList list;
    list.add_jobs();
    list.SpaceUsedLong();
  }
  const std::size_t before = heap_use::Bytes();
  {
    JQ::JobList list;
    ASSERT_TRUE(list.ParseFromString(bytes));
    const std::size_t full = heap_use::Bytes() - before;
    list.Clear();
    EXPECT_EQ(heap_use::Bytes() - before, full);
    EXPECT_GE(list.SpaceUsedLong(), full * 9 / 10);
  }
  EXPECT_EQ(heap_use::Bytes(), before);
}

TEST(ReusedMessage, KeepsTheSumOfWhatItsElementsEverHeld) {
  const std::size_t before = heap_use::Bytes();
  Tarq::RequestHeaders reused;
  for (int round = 0; round < kRounds; ++round) {
    ASSERT_TRUE(reused.ParseFromString(OneLongHeader(round)));
  }
  EXPECT_GE(heap_use::Bytes() - before, kRounds * kText);
  EXPECT_GE(reused.SpaceUsedLong(), kRounds * kText);
}

TEST(FreshMessage, KeepsNothing) {
  const std::size_t before = heap_use::Bytes();
  for (int round = 0; round < kRounds; ++round) {
    Tarq::RequestHeaders fresh;
    ASSERT_TRUE(fresh.ParseFromString(OneLongHeader(round)));
    EXPECT_LE(heap_use::Bytes() - before, 2 * kText);
  }
  EXPECT_EQ(heap_use::Bytes(), before);
}

// Arenas round up to 8 bytes.
constexpr std::size_t OnArena(std::size_t size) { return (size + 7) / 8 * 8; }

TEST(MessageReusedOnAnArena, GrowsWithEachRound) {
  const std::string bytes = "\x22\x00"s;  // function {}
  Arena arena;
  auto* const event = Arena::CreateMessage<Monitor::Event>(&arena);
  const std::uint64_t before = arena.SpaceUsed();
  for (int round = 0; round < kRounds; ++round) {
    ASSERT_TRUE(event->ParseFromString(bytes));
  }
  EXPECT_EQ(arena.SpaceUsed() - before, kRounds * OnArena(sizeof(Monitor::FunctionData)));
}

TEST(ArenaThatIsReset, DoesNotGrow) {
  const std::string bytes = "\x22\x00"s;
  Arena arena;
  for (int round = 0; round < kRounds; ++round) {
    ASSERT_TRUE(Arena::CreateMessage<Monitor::Event>(&arena)->ParseFromString(bytes));
    EXPECT_EQ(arena.SpaceUsed(),
              OnArena(sizeof(Monitor::Event)) + OnArena(sizeof(Monitor::FunctionData)));
    arena.Reset();
  }
}

// Unknown fields and the contents of long texts are on the heap, where the arena does not see them.
TEST(Arena, DoesNotKnowOfUnknownFieldsAndLongTexts) {
  const std::string text = LengthDelimitedField(2, std::string(kMebibyte, 'a'));
  for (const std::string& bytes : {Repeated("\x7a\x00"s, kMebibyte), text}) {
    const std::size_t before = heap_use::Bytes();
    Arena arena;
    auto* const headers = Arena::CreateMessage<Tarq::RequestHeaders>(&arena);
    ASSERT_TRUE(headers->ParseFromString(bytes));
    EXPECT_GE(heap_use::Bytes() - before, kMebibyte);
    EXPECT_LE(arena.SpaceAllocated(), 8192U);
    EXPECT_GE(headers->SpaceUsedLong(), kMebibyte);
  }
}

}  // namespace
}  // namespace hostile
