// A move swaps where both sides have the same owner, and copies where they have not.

#include <gtest/gtest.h>

#include <utility>

#include "typed_fill.h"

namespace contract {
namespace {

TEST(MoveConstructor, EmptiesAMessageOfTheHeap) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto source = FilledOnHeap<M>(filling);
    const M moved(std::move(*source));
    EXPECT_EQ(ExpectedBytes(moved), FilledBytes<M>(filling));
    EXPECT_EQ(ExpectedBytes(*source), "");
  });
}

TEST(MoveConstructor, CopiesAMessageOfAnArena) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    Arena arena;
    M& source = FilledOn<M>(arena, filling);
    M* const view = &source;
    const M moved(std::move(*view));
    EXPECT_EQ(moved.GetArena(), nullptr);
    EXPECT_EQ(ExpectedBytes(moved), FilledBytes<M>(filling));
    EXPECT_EQ(ExpectedBytes(*view), FilledBytes<M>(filling));
  });
}

TEST(MoveAssignment, SwapsOnTheHeapAndOnOneArena) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto source = FilledOnHeap<M>(filling);
    const auto target = FilledOnHeap<M>(filling + 1);
    *target = std::move(*source);
    EXPECT_EQ(ExpectedBytes(*target), FilledBytes<M>(filling));
    EXPECT_EQ(ExpectedBytes(*source), FilledBytes<M>(filling + 1));

    Arena arena;
    M* const arena_source = &FilledOn<M>(arena, filling);
    M* const arena_target = &FilledOn<M>(arena, filling + 1);
    *arena_target = std::move(*arena_source);
    EXPECT_EQ(ExpectedBytes(*arena_target), FilledBytes<M>(filling));
    EXPECT_EQ(ExpectedBytes(*arena_source), FilledBytes<M>(filling + 1));
  });
}

TEST(MoveAssignment, CopiesFromOneOwnerToAnother) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto on_heap = FilledOnHeap<M>(filling);
    Arena arena;
    Arena other_arena;
    for (M* const target :
         {&FilledOn<M>(arena, filling + 1), &FilledOn<M>(other_arena, filling + 1)}) {
      *target = std::move(*on_heap);
      EXPECT_EQ(ExpectedBytes(*target), FilledBytes<M>(filling));
      EXPECT_EQ(ExpectedBytes(*on_heap), FilledBytes<M>(filling));
    }
    M* const source = &FilledOn<M>(arena, filling);
    const auto heap_target = FilledOnHeap<M>(filling + 1);
    for (M* const target : {heap_target.get(), &FilledOn<M>(other_arena, filling + 1)}) {
      *target = std::move(*source);
      EXPECT_EQ(ExpectedBytes(*target), FilledBytes<M>(filling));
      EXPECT_EQ(ExpectedBytes(*source), FilledBytes<M>(filling));
    }
  });
}

TEST(MoveAssignment, FromItselfChangesNothing) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto message = FilledOnHeap<M>(filling);
    M& same = *message;
    *message = std::move(same);
    EXPECT_EQ(ExpectedBytes(*message), FilledBytes<M>(filling));
  });
}

}  // namespace
}  // namespace contract
