// Copies of each message class are deep and complete.

#include <gtest/gtest.h>

#include "typed_fill.h"

namespace contract {
namespace {

TEST(CopyConstructor, CopiesAllThatIsSetOntoTheHeap) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    auto source = FilledOnHeap<M>(filling);
    const M copy(*source);
    EXPECT_EQ(copy.GetArena(), nullptr);
    EXPECT_EQ(ExpectedBytes(*source), FilledBytes<M>(filling));
    source.reset();
    EXPECT_EQ(ExpectedBytes(copy), FilledBytes<M>(filling));
  });
}

TEST(CopyConstructor, LeavesAnArenaMessageForTheHeap) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    auto arena = std::make_unique<Arena>();
    const M copy(FilledOn<M>(*arena, filling));
    arena.reset();
    EXPECT_EQ(copy.GetArena(), nullptr);
    EXPECT_EQ(ExpectedBytes(copy), FilledBytes<M>(filling));
  });
}

TEST(CopyAssignment, ReplacesTheContent) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto source = FilledOnHeap<M>(filling);
    const auto target = FilledOnHeap<M>(filling + 1);
    *target = *source;
    EXPECT_EQ(ExpectedBytes(*target), FilledBytes<M>(filling));
    EXPECT_EQ(ExpectedBytes(*source), FilledBytes<M>(filling));

    Arena arena;
    M& on_arena = FilledOn<M>(arena, filling + 1);
    on_arena = *source;
    EXPECT_EQ(ExpectedBytes(on_arena), FilledBytes<M>(filling));
    EXPECT_EQ(on_arena.GetArena(), &arena);
  });
}

TEST(CopyAssignment, FromItselfChangesNothing) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto message = FilledOnHeap<M>(filling);
    const M& same = *message;
    *message = same;
    EXPECT_EQ(ExpectedBytes(*message), FilledBytes<M>(filling));
  });
}

TEST(CopyFrom, ReplacesTheContentThroughTheBaseClassToo) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto source = FilledOnHeap<M>(filling);
    const auto target = FilledOnHeap<M>(filling + 1);
    target->CopyFrom(*source);
    EXPECT_EQ(ExpectedBytes(*target), FilledBytes<M>(filling));

    Fill(*target, filling + 1);
    target->CopyFrom(static_cast<const Message&>(*source));
    EXPECT_EQ(ExpectedBytes(*target), FilledBytes<M>(filling));

    target->CopyFrom(M::default_instance());
    EXPECT_EQ(ExpectedBytes(*target), "");
  });
}

TEST(CopyFrom, FromItselfChangesNothing) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto message = FilledOnHeap<M>(filling);
    message->CopyFrom(*message);
    EXPECT_EQ(ExpectedBytes(*message), FilledBytes<M>(filling));
    message->CopyFrom(static_cast<const Message&>(*message));
    EXPECT_EQ(ExpectedBytes(*message), FilledBytes<M>(filling));
  });
}

TEST(New, MakesAnEmptyMessageOfTheSameClassWhereItIsTold) {
  ForEachTypedFilling([](auto type, int filling) {
    using M = typename decltype(type)::Message;
    const auto message = FilledOnHeap<M>(filling);
    const std::unique_ptr<M> on_heap(message->New(nullptr));
    EXPECT_EQ(on_heap->GetArena(), nullptr);
    EXPECT_EQ(on_heap->GetDescriptor(), M::descriptor());
    EXPECT_EQ(ExpectedBytes(*on_heap), "");

    Arena arena;
    const Message* const on_arena = static_cast<const Message&>(*message).New(&arena);
    EXPECT_EQ(on_arena->GetArena(), &arena);
    EXPECT_NE(dynamic_cast<const M*>(on_arena), nullptr);
    EXPECT_EQ(ExpectedBytes(*on_arena), "");
  });
}

}  // namespace
}  // namespace contract
