// Copies of each message class are deep and complete.

#include <gtest/gtest.h>

#include <typeinfo>

#include "support/expected_bytes.h"
#include "support/fill.h"

namespace contract {
namespace {

TEST(CopyConstructor, CopiesAllThatIsSetOntoTheHeap) {
  ForEachFilledClass([](const FilledClass& filled) {
    auto source = filled.OnHeap();
    const auto copy = filled.type.copy_construct(*source);
    EXPECT_EQ(copy->GetArena(), nullptr);
    EXPECT_EQ(ExpectedBytes(*source), filled.Bytes());
    source.reset();
    EXPECT_EQ(ExpectedBytes(*copy), filled.Bytes());
  });
}

TEST(CopyConstructor, CopiesAnArenaMessageOntoTheHeap) {
  ForEachFilledClass([](const FilledClass& filled) {
    auto arena = std::make_unique<Arena>();
    const auto copy = filled.type.copy_construct(filled.OnArena(*arena));
    arena.reset();
    EXPECT_EQ(copy->GetArena(), nullptr);
    EXPECT_EQ(ExpectedBytes(*copy), filled.Bytes());
  });
}

TEST(CopyAssignment, ReplacesTheContent) {
  ForEachFilledClass([](const FilledClass& filled) {
    const auto source = filled.OnHeap();
    const auto target = filled.Next().OnHeap();
    filled.type.copy_assign(*target, *source);
    EXPECT_EQ(ExpectedBytes(*target), filled.Bytes());
    EXPECT_EQ(ExpectedBytes(*source), filled.Bytes());

    Arena arena;
    Message& on_arena = filled.Next().OnArena(arena);
    filled.type.copy_assign(on_arena, *source);
    EXPECT_EQ(ExpectedBytes(on_arena), filled.Bytes());
    EXPECT_EQ(on_arena.GetArena(), &arena);
  });
}

TEST(CopyAssignment, FromItselfChangesNothing) {
  ForEachFilledClass([](const FilledClass& filled) {
    const auto message = filled.OnHeap();
    filled.type.copy_assign(*message, *message);
    EXPECT_EQ(ExpectedBytes(*message), filled.Bytes());
  });
}

TEST(CopyFrom, ReplacesTheContentThroughTheBaseClassToo) {
  ForEachFilledClass([](const FilledClass& filled) {
    const auto source = filled.OnHeap();
    const auto target = filled.Next().OnHeap();
    filled.type.copy_from(*target, *source);
    EXPECT_EQ(ExpectedBytes(*target), filled.Bytes());

    Fill(*target, filled.Next().filling);
    target->CopyFrom(*source);
    EXPECT_EQ(ExpectedBytes(*target), filled.Bytes());

    filled.type.copy_from(*target, *filled.type.default_instance);
    EXPECT_EQ(ExpectedBytes(*target), "");
  });
}

TEST(CopyFrom, FromItselfChangesNothing) {
  ForEachFilledClass([](const FilledClass& filled) {
    const auto message = filled.OnHeap();
    filled.type.copy_from(*message, *message);
    EXPECT_EQ(ExpectedBytes(*message), filled.Bytes());
    message->CopyFrom(*message);
    EXPECT_EQ(ExpectedBytes(*message), filled.Bytes());
  });
}

TEST(New, MakesAnEmptyMessageOfTheSameClassOnTheHeapOrTheArena) {
  ForEachFilling([](const Message& prototype, int filling) {
    const auto message = Filled(prototype, filling);
    const std::unique_ptr<const Message> on_heap(message->New(nullptr));
    EXPECT_EQ(on_heap->GetArena(), nullptr);
    EXPECT_EQ(on_heap->GetDescriptor(), prototype.GetDescriptor());
    EXPECT_EQ(ExpectedBytes(*on_heap), "");

    Arena arena;
    const Message& on_arena = *message->New(&arena);
    EXPECT_EQ(on_arena.GetArena(), &arena);
    EXPECT_EQ(typeid(on_arena), typeid(prototype));
    EXPECT_EQ(ExpectedBytes(on_arena), "");
  });
}

}  // namespace
}  // namespace contract
