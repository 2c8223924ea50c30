// A move swaps two messages of one owner, and copies from one owner to another.

#include <gtest/gtest.h>

#include "support/expected_bytes.h"
#include "support/fill.h"

namespace contract {
namespace {

TEST(MoveConstructor, EmptiesAMessageOnTheHeap) {
  ForEachFilledClass([](const FilledClass& filled) {
    const auto source = filled.OnHeap();
    const auto moved = filled.type.move_construct(*source);
    EXPECT_EQ(ExpectedBytes(*moved), filled.Bytes());
    EXPECT_EQ(ExpectedBytes(*source), "");
  });
}

TEST(MoveConstructor, CopiesAMessageOnAnArena) {
  ForEachFilledClass([](const FilledClass& filled) {
    Arena arena;
    Message& source = filled.OnArena(arena);
    const auto moved = filled.type.move_construct(source);
    EXPECT_EQ(moved->GetArena(), nullptr);
    EXPECT_EQ(ExpectedBytes(*moved), filled.Bytes());
    EXPECT_EQ(ExpectedBytes(source), filled.Bytes());
  });
}

TEST(MoveAssignment, SwapsOnTheHeapAndOnOneArena) {
  ForEachFilledClass([](const FilledClass& filled) {
    const FilledClass next = filled.Next();
    const auto source = filled.OnHeap();
    const auto target = next.OnHeap();
    filled.type.move_assign(*target, *source);
    EXPECT_EQ(ExpectedBytes(*target), filled.Bytes());
    EXPECT_EQ(ExpectedBytes(*source), next.Bytes());

    Arena arena;
    Message& arena_source = filled.OnArena(arena);
    Message& arena_target = next.OnArena(arena);
    filled.type.move_assign(arena_target, arena_source);
    EXPECT_EQ(ExpectedBytes(arena_target), filled.Bytes());
    EXPECT_EQ(ExpectedBytes(arena_source), next.Bytes());
  });
}

TEST(MoveAssignment, CopiesFromOneOwnerToAnother) {
  ForEachFilledClass([](const FilledClass& filled) {
    const FilledClass next = filled.Next();
    const auto on_heap = filled.OnHeap();
    Arena arena;
    Arena other_arena;
    for (Message* const target : {&next.OnArena(arena), &next.OnArena(other_arena)}) {
      filled.type.move_assign(*target, *on_heap);
      EXPECT_EQ(ExpectedBytes(*target), filled.Bytes());
      EXPECT_EQ(ExpectedBytes(*on_heap), filled.Bytes());
    }
    Message& source = filled.OnArena(arena);
    const auto heap_target = next.OnHeap();
    for (Message* const target : {heap_target.get(), &next.OnArena(other_arena)}) {
      filled.type.move_assign(*target, source);
      EXPECT_EQ(ExpectedBytes(*target), filled.Bytes());
      EXPECT_EQ(ExpectedBytes(source), filled.Bytes());
    }
  });
}

TEST(MoveAssignment, FromItselfChangesNothing) {
  ForEachFilledClass([](const FilledClass& filled) {
    const auto message = filled.OnHeap();
    filled.type.move_assign(*message, *message);
    EXPECT_EQ(ExpectedBytes(*message), filled.Bytes());
  });
}

}  // namespace
}  // namespace contract
