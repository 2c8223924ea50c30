// A swap exchanges all that two messages hold, on the heap, on an arena and between them.

#include <gtest/gtest.h>

#include "support/expected_bytes.h"
#include "support/fill.h"

namespace contract {
namespace {

// `a` holds the filling, `b` the next one.
void ExpectSwap(const FilledClass& filled, Message& a, Message& b) {
  const Arena* const arena_a = a.GetArena();
  const Arena* const arena_b = b.GetArena();
  filled.type.swap(a, b);
  EXPECT_EQ(ExpectedBytes(a), filled.Next().Bytes());
  EXPECT_EQ(ExpectedBytes(b), filled.Bytes());
  EXPECT_EQ(a.GetArena(), arena_a);
  EXPECT_EQ(b.GetArena(), arena_b);
  filled.type.swap_function(a, b);
  EXPECT_EQ(ExpectedBytes(a), filled.Bytes());
  EXPECT_EQ(ExpectedBytes(b), filled.Next().Bytes());
}

TEST(Swap, ExchangesTwoMessagesOnTheHeap) {
  ForEachFilledClass([](const FilledClass& filled) {
    ExpectSwap(filled, *filled.OnHeap(), *filled.Next().OnHeap());
  });
}

TEST(Swap, ExchangesTwoMessagesOnOneArena) {
  ForEachFilledClass([](const FilledClass& filled) {
    Arena arena;
    ExpectSwap(filled, filled.OnArena(arena), filled.Next().OnArena(arena));
  });
}

TEST(Swap, ExchangesAMessageOnTheHeapWithOneOnAnArena) {
  ForEachFilledClass([](const FilledClass& filled) {
    Arena arena;
    ExpectSwap(filled, *filled.OnHeap(), filled.Next().OnArena(arena));
    ExpectSwap(filled, filled.OnArena(arena), *filled.Next().OnHeap());
  });
}

TEST(Swap, ExchangesMessagesOnTwoArenas) {
  ForEachFilledClass([](const FilledClass& filled) {
    Arena arena;
    Arena other;
    ExpectSwap(filled, filled.OnArena(arena), filled.Next().OnArena(other));
  });
}

TEST(Swap, WithItselfChangesNothing) {
  ForEachFilledClass([](const FilledClass& filled) {
    const auto message = filled.OnHeap();
    filled.type.swap(*message, *message);
    filled.type.unsafe_arena_swap(*message, *message);
    EXPECT_EQ(ExpectedBytes(*message), filled.Bytes());
  });
}

TEST(UnsafeArenaSwap, ExchangesMessagesOfOneOwner) {
  ForEachFilledClass([](const FilledClass& filled) {
    const FilledClass next = filled.Next();
    Arena arena;
    Message& a = filled.OnArena(arena);
    Message& b = next.OnArena(arena);
    filled.type.unsafe_arena_swap(a, b);
    EXPECT_EQ(ExpectedBytes(a), next.Bytes());
    EXPECT_EQ(ExpectedBytes(b), filled.Bytes());

    const auto heap_a = filled.OnHeap();
    const auto heap_b = next.OnHeap();
    filled.type.unsafe_arena_swap(*heap_a, *heap_b);
    EXPECT_EQ(ExpectedBytes(*heap_a), next.Bytes());
    EXPECT_EQ(ExpectedBytes(*heap_b), filled.Bytes());
  });
}

}  // namespace
}  // namespace contract
