// Two messages exchange all they hold, whoever owns them.

#include <gtest/gtest.h>

#include "typed_fill.h"

namespace contract {
namespace {

constexpr int kOther = 1;

// `a` holds the filling, `b` the one after it.
template <class M>
void ExpectSwap(M& a, M& b, int filling) {
  const Arena* const arena_a = a.GetArena();
  const Arena* const arena_b = b.GetArena();
  a.Swap(&b);
  EXPECT_EQ(ExpectedBytes(a), FilledBytes<M>(filling + kOther));
  EXPECT_EQ(ExpectedBytes(b), FilledBytes<M>(filling));
  EXPECT_EQ(a.GetArena(), arena_a);
  EXPECT_EQ(b.GetArena(), arena_b);
  swap(a, b);
  EXPECT_EQ(ExpectedBytes(a), FilledBytes<M>(filling));
  EXPECT_EQ(ExpectedBytes(b), FilledBytes<M>(filling + kOther));
}

TEST(Swap, ExchangesTwoMessagesOfTheHeap) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    ExpectSwap(*FilledOnHeap<M>(filling), *FilledOnHeap<M>(filling + kOther), filling);
  });
}

TEST(Swap, ExchangesTwoMessagesOfOneArena) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    Arena arena;
    ExpectSwap(FilledOn<M>(arena, filling), FilledOn<M>(arena, filling + kOther), filling);
  });
}

TEST(Swap, ExchangesMessagesOfTheHeapAndOfAnArena) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    Arena arena;
    ExpectSwap(*FilledOnHeap<M>(filling), FilledOn<M>(arena, filling + kOther), filling);
    ExpectSwap(FilledOn<M>(arena, filling), *FilledOnHeap<M>(filling + kOther), filling);
  });
}

TEST(Swap, ExchangesMessagesOfTwoArenas) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    Arena arena;
    Arena other;
    ExpectSwap(FilledOn<M>(arena, filling), FilledOn<M>(other, filling + kOther), filling);
  });
}

TEST(Swap, WithItselfChangesNothing) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto message = FilledOnHeap<M>(filling);
    message->Swap(message.get());
    message->UnsafeArenaSwap(message.get());
    EXPECT_EQ(ExpectedBytes(*message), FilledBytes<M>(filling));
  });
}

TEST(UnsafeArenaSwap, ExchangesMessagesOfOneOwner) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    Arena arena;
    M& a = FilledOn<M>(arena, filling);
    M& b = FilledOn<M>(arena, filling + kOther);
    a.UnsafeArenaSwap(&b);
    EXPECT_EQ(ExpectedBytes(a), FilledBytes<M>(filling + kOther));
    EXPECT_EQ(ExpectedBytes(b), FilledBytes<M>(filling));

    const auto heap_a = FilledOnHeap<M>(filling);
    const auto heap_b = FilledOnHeap<M>(filling + kOther);
    heap_a->UnsafeArenaSwap(heap_b.get());
    EXPECT_EQ(ExpectedBytes(*heap_a), FilledBytes<M>(filling + kOther));
    EXPECT_EQ(ExpectedBytes(*heap_b), FilledBytes<M>(filling));
  });
}

}  // namespace
}  // namespace contract
