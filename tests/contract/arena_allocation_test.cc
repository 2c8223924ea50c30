// For a message on an arena, the accessors take all memory from the arena.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "../support/allocations.h"
#include "message_list.h"

namespace contract {
namespace {

using google::protobuf::Arena;

// Fits into the string object itself.
constexpr char kShort[] = "short";
// Does not.
constexpr char kLong[] = "longer than what fits into a string object";

template <class Action>
std::size_t AllocationsOf(const Action& action) {
  const std::size_t before = allocations::Made();
  action();
  return allocations::Made() - before;
}

// An arena with enough memory from the start.
class RoomyArena {
 public:
  RoomyArena() : block_(std::size_t{64} * 1024), arena_(block_.data(), block_.size()) {}

  template <class M>
  M& New() {
    return *Arena::CreateMessage<M>(&arena_);
  }

 private:
  std::vector<char> block_;
  Arena arena_;
};

// Calls check(Type<M>, change) for each way to change a field through its accessors.
template <class Check>
void ForEachChange(const Check& check){
#define CHANGE(M, call)                                       \
  {                                                           \
    SCOPED_TRACE(#M ": " #call);                              \
    check(Type<M>{}, [](M& message) { (void)message.call; }); \
  }
#define SCALAR_FIELD(M, x) \
  CHANGE(M, set_##x(static_cast<std::decay_t<decltype(message.x())>>(1))) CHANGE(M, clear_##x())
#define STRING_FIELD(M, x)   \
  CHANGE(M, set_##x(kShort)) \
  CHANGE(M, mutable_##x())   \
  CHANGE(M, mutable_##x()->assign(kShort)) CHANGE(M, clear_##x())
#define MESSAGE_FIELD(M, x) CHANGE(M, mutable_##x()) CHANGE(M, clear_##x())
#define REPEATED_STRING_FIELD(M, x) \
  CHANGE(M, add_##x())              \
  CHANGE(M, add_##x(kShort))        \
  CHANGE(M, add_##x()->assign(kShort)) CHANGE(M, mutable_##x()) CHANGE(M, clear_##x())
#define REPEATED_MESSAGE_FIELD(M, x) \
  CHANGE(M, add_##x()) CHANGE(M, mutable_##x()) CHANGE(M, clear_##x())
#define MAP_FIELD(M, x) \
  CHANGE(M, mutable_##x()) CHANGE(M, mutable_##x()->operator[](1)) CHANGE(M, clear_##x())
#define ONEOF_SCALAR(M, g, x, kX) \
  CHANGE(M, set_##x(1)) CHANGE(M, clear_##x()) CHANGE(M, clear_##g())
#define ONEOF_STRING(M, g, x, kX) STRING_FIELD(M, x)
#define ONEOF_MESSAGE(M, g, x, kX) MESSAGE_FIELD(M, x)
#include "field_list.inc"
#undef CHANGE
}

TEST(ArenaAllocation, IsAllThatTheAccessorsDo) {
  ForEachChange([](auto type, auto change) {
    RoomyArena arena;
    auto& message = arena.New<typename decltype(type)::Message>();
    // Twice: on an empty message, and on one that already holds the value.
    EXPECT_EQ(AllocationsOf([&] { change(message); }), 0U);
    EXPECT_EQ(AllocationsOf([&] { change(message); }), 0U);
  });
}

TEST(ArenaAllocation, IsAllThatMakingAMessageDoes) {
  AllMessages::ForEach([](auto type) {
    using M = typename decltype(type)::Message;
    RoomyArena arena;
    EXPECT_EQ(AllocationsOf([&] { arena.New<M>(); }), 0U) << M::descriptor()->full_name();
  });
}

TEST(ArenaAllocation, IsAllThatManyElementsDo){
#define REPEATED_STRING_FIELD(M, x)                             \
  {                                                             \
    RoomyArena arena;                                           \
    M& message = arena.New<M>();                                \
    EXPECT_EQ(AllocationsOf([&] {                               \
                for (int i = 0; i < 50; ++i) message.add_##x(); \
              }),                                               \
              0U)                                               \
        << #M "." #x;                                           \
  }
#define REPEATED_MESSAGE_FIELD(M, x) REPEATED_STRING_FIELD(M, x)
#include "field_list.inc"
}

TEST(ArenaAllocation, LeavesTheBufferOfALongStringToTheHeap){
#define STRING_FIELD(M, x)                                                                    \
  {                                                                                           \
    RoomyArena arena;                                                                         \
    M& message = arena.New<M>();                                                              \
    EXPECT_EQ(AllocationsOf([&] { message.mutable_##x()->assign(kLong); }), 1U) << #M "." #x; \
  }
#define ONEOF_STRING(M, g, x, kX) STRING_FIELD(M, x)
#include "field_list.inc"
}

// Shows that the counter counts.
TEST(HeapAllocation, IsCountedForMessagesOffAnArena) {
#define EXPECT_ALLOCATION(M, call)                                             \
  {                                                                            \
    M message;                                                                 \
    EXPECT_GT(AllocationsOf([&] { (void)message.call; }), 0U) << #M " " #call; \
  }
#define STRING_FIELD(M, x) EXPECT_ALLOCATION(M, set_##x(kShort))
#define MESSAGE_FIELD(M, x) EXPECT_ALLOCATION(M, mutable_##x())
#define REPEATED_STRING_FIELD(M, x) EXPECT_ALLOCATION(M, add_##x())
#define REPEATED_MESSAGE_FIELD(M, x) EXPECT_ALLOCATION(M, add_##x())
#define MAP_FIELD(M, x) EXPECT_ALLOCATION(M, mutable_##x()->operator[](1))
#define ONEOF_STRING(M, g, x, kX) STRING_FIELD(M, x)
#define ONEOF_MESSAGE(M, g, x, kX) MESSAGE_FIELD(M, x)
#include "field_list.inc"
#undef EXPECT_ALLOCATION
}

}  // namespace
}  // namespace contract
