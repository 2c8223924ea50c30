// Who owns a sub-message or a string that goes in or out, for every field that can let go of one.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <functional>
#include <type_traits>

#include "../support/log_recorder.h"
#include "typed_fill.h"

namespace contract {
namespace {

constexpr char kText[] = "longer than what fits into a string object";

// The accessors of one message field.
template <class M, class Sub>
struct MessageField {
  using Parent = M;
  using Value = Sub;
  Sub* (M::*mutable_value)();
  bool (M::*has)() const;
  const Sub& (M::*get)() const;
  Sub* (M::*release)();
  void (M::*set_allocated)(Sub*);
  Sub* (M::*unsafe_arena_release)();
  void (M::*unsafe_arena_set_allocated)(Sub*);
};

// Calls check(field) for the accessors of each message field, oneof members included.
template <class Check>
void ForEachMessageField(const Check& check){
#define MESSAGE_FIELD(M, x)                                                          \
  {                                                                                  \
    SCOPED_TRACE(#M "." #x);                                                         \
    check(MessageField<M, std::decay_t<decltype(std::declval<const M&>().x())>>{     \
        &M::mutable_##x, &M::has_##x, &M::x, &M::release_##x, &M::set_allocated_##x, \
        &M::unsafe_arena_release_##x, &M::unsafe_arena_set_allocated_##x});          \
  }
#define ONEOF_MESSAGE(M, g, x, kX) MESSAGE_FIELD(M, x)
#include "field_list.inc"
}

TEST(ReleasedMessage, OffAnArenaIsTheObjectItself) {
  ForEachMessageField([](auto field) {
    typename decltype(field)::Parent message;
    auto* const sub = (message.*field.mutable_value)();
    Fill(*sub, 0);
    const std::string bytes = ExpectedBytes(*sub);
    const std::unique_ptr<Message> released((message.*field.release)());
    EXPECT_EQ(released.get(), sub);
    EXPECT_EQ(ExpectedBytes(*released), bytes);
    EXPECT_FALSE((message.*field.has)());
    EXPECT_EQ((message.*field.release)(), nullptr);
  });
}

TEST(ReleasedMessage, OnAnArenaIsACopyOnTheHeap) {
  ForEachMessageField([](auto field) {
    using M = typename decltype(field)::Parent;
    auto arena = std::make_unique<Arena>();
    M& message = *Arena::CreateMessage<M>(arena.get());
    auto* const sub = (message.*field.mutable_value)();
    Fill(*sub, 0);
    const std::string bytes = ExpectedBytes(*sub);
    const std::unique_ptr<Message> released((message.*field.release)());
    EXPECT_NE(released.get(), sub);
    EXPECT_EQ(released->GetArena(), nullptr);
    EXPECT_EQ(ExpectedBytes(*sub), bytes);  // the arena's own stays as it was
    EXPECT_FALSE((message.*field.has)());
    EXPECT_EQ((message.*field.release)(), nullptr);
    arena.reset();
    EXPECT_EQ(ExpectedBytes(*released), bytes);
  });
}

TEST(ReleasedMessage, IsThePointerAsItIsIfTheCallerMindsTheArena) {
  ForEachMessageField([](auto field) {
    using M = typename decltype(field)::Parent;
    Arena arena;
    M& on_arena = *Arena::CreateMessage<M>(&arena);
    auto* const sub = (on_arena.*field.mutable_value)();
    EXPECT_EQ((on_arena.*field.unsafe_arena_release)(), sub);
    EXPECT_EQ(sub->GetArena(), &arena);
    EXPECT_FALSE((on_arena.*field.has)());

    M on_heap;
    auto* const heap_sub = (on_heap.*field.mutable_value)();
    const std::unique_ptr<Message> released((on_heap.*field.unsafe_arena_release)());
    EXPECT_EQ(released.get(), heap_sub);
    EXPECT_FALSE((on_heap.*field.has)());
  });
}

TEST(AllocatedMessage, OfTheSameOwnerIsTakenAsItIs) {
  ForEachMessageField([](auto field) {
    using M = typename decltype(field)::Parent;
    using Sub = typename decltype(field)::Value;
    M on_heap;
    (on_heap.*field.mutable_value)();  // deleted by what follows
    Sub* const heap_sub = FilledOnHeap<Sub>(0).release();
    (on_heap.*field.set_allocated)(heap_sub);
    EXPECT_TRUE((on_heap.*field.has)());
    EXPECT_EQ(&(on_heap.*field.get)(), heap_sub);

    Arena arena;
    M& on_arena = *Arena::CreateMessage<M>(&arena);
    Sub& arena_sub = FilledOn<Sub>(arena, 0);
    (on_arena.*field.set_allocated)(&arena_sub);
    EXPECT_TRUE((on_arena.*field.has)());
    EXPECT_EQ(&(on_arena.*field.get)(), &arena_sub);
  });
}

TEST(AllocatedMessage, OfTheHeapIsGivenToTheArena) {
  ForEachMessageField([](auto field) {
    using M = typename decltype(field)::Parent;
    using Sub = typename decltype(field)::Value;
    Arena arena;
    M& message = *Arena::CreateMessage<M>(&arena);
    Sub* const sub = FilledOnHeap<Sub>(0).release();
    (message.*field.set_allocated)(sub);
    EXPECT_EQ(&(message.*field.get)(), sub);
    EXPECT_EQ(ExpectedBytes((message.*field.get)()), FilledBytes<Sub>(0));
  });
}

// The runtime takes a sub-message from the heap only: what another arena owns cannot be given away.
TEST(AllocatedMessage, OfAnotherArenaIsAFatalErrorOfTheRuntime) {
  ForEachMessageField([](auto field) {
    using M = typename decltype(field)::Parent;
    using Sub = typename decltype(field)::Value;
    M on_heap;
    Arena arena;
    M& on_arena = *Arena::CreateMessage<M>(&arena);
    Arena other;
    Sub* const sub = &FilledOn<Sub>(other, 0);
    for (M* const message : {&on_heap, &on_arena}) {
      const LogRecorder log;
      EXPECT_THROW((message->*field.set_allocated)(sub), google::protobuf::FatalException);
      ASSERT_EQ(log.lines().size(), 1U);
      EXPECT_EQ(log.lines().front().level, google::protobuf::LOGLEVEL_FATAL);
      EXPECT_EQ(ExpectedBytes(*sub), FilledBytes<Sub>(0));
    }
  });
}

TEST(AllocatedMessage, ThatIsNullClearsTheField) {
  ForEachMessageField([](auto field) {
    using M = typename decltype(field)::Parent;
    M on_heap;
    Arena arena;
    M& on_arena = *Arena::CreateMessage<M>(&arena);
    for (M* const message : {&on_heap, &on_arena}) {
      (message->*field.mutable_value)();
      (message->*field.set_allocated)(nullptr);
      EXPECT_FALSE((message->*field.has)());
      EXPECT_EQ(message->SerializeAsString(), "");
    }
  });
}

TEST(AllocatedMessage, IsStoredAsItIsIfTheCallerMindsTheArena) {
  ForEachMessageField([](auto field) {
    using M = typename decltype(field)::Parent;
    using Sub = typename decltype(field)::Value;
    Arena arena;
    M& on_arena = *Arena::CreateMessage<M>(&arena);
    const auto of_the_heap = FilledOnHeap<Sub>(0);
    (on_arena.*field.unsafe_arena_set_allocated)(of_the_heap.get());
    EXPECT_TRUE((on_arena.*field.has)());
    EXPECT_EQ(&(on_arena.*field.get)(), of_the_heap.get());
    (on_arena.*field.unsafe_arena_set_allocated)(nullptr);
    EXPECT_FALSE((on_arena.*field.has)());
    EXPECT_EQ(ExpectedBytes(*of_the_heap), FilledBytes<Sub>(0));
  });
}

// The accessors of one string field.
template <class M>
struct StringField {
  using Parent = M;
  std::string* (M::*mutable_value)();
  const std::string& (M::*get)() const;
  std::string* (M::*release)();
  void (M::*set_allocated)(std::string*);
};

// Calls check(field) for the accessors of each string field, oneof members included.
template <class Check>
void ForEachStringField(const Check& check){
#define STRING_FIELD(M, x)                                                                 \
  {                                                                                        \
    SCOPED_TRACE(#M "." #x);                                                               \
    check(StringField<M>{&M::mutable_##x, &M::x, &M::release_##x, &M::set_allocated_##x}); \
  }
#define ONEOF_STRING(M, g, x, kX) STRING_FIELD(M, x)
#include "field_list.inc"
}

TEST(ReleasedString, BelongsToTheCaller) {
  ForEachStringField([](auto field) {
    using M = typename decltype(field)::Parent;
    auto arena = std::make_unique<Arena>();
    M on_heap;
    for (M* const message : {&on_heap, Arena::CreateMessage<M>(arena.get())}) {
      *(message->*field.mutable_value)() = kText;
      const std::unique_ptr<std::string> released((message->*field.release)());
      ASSERT_NE(released, nullptr);
      EXPECT_EQ(*released, kText);
      EXPECT_EQ((message->*field.get)(), "");
      EXPECT_EQ(message->SerializeAsString(), "");
      if (message->GetArena() != nullptr) {
        arena.reset();
        EXPECT_EQ(*released, kText);
      }
    }
  });
}

TEST(AllocatedString, BelongsToTheMessageOrItsArena) {
  ForEachStringField([](auto field) {
    using M = typename decltype(field)::Parent;
    Arena arena;
    M on_heap;
    for (M* const message : {&on_heap, Arena::CreateMessage<M>(&arena)}) {
      *(message->*field.mutable_value)() = "replaced";
      (message->*field.set_allocated)(std::make_unique<std::string>(kText).release());
      EXPECT_EQ((message->*field.get)(), kText);
    }
  });
}

TEST(AllocatedString, ThatIsNullLeavesTheFieldEmpty) {
  ForEachStringField([](auto field) {
    using M = typename decltype(field)::Parent;
    Arena arena;
    M on_heap;
    for (M* const message : {&on_heap, Arena::CreateMessage<M>(&arena)}) {
      *(message->*field.mutable_value)() = kText;
      (message->*field.set_allocated)(nullptr);
      EXPECT_EQ((message->*field.get)(), "");
      EXPECT_EQ(message->SerializeAsString(), "");
    }
  });
}

TEST(OneofString, KeepsTheCaseWithTheString) {
  Arena arena;
#define ONEOF_STRING(M, g, x, kX)                                            \
  {                                                                          \
    SCOPED_TRACE(#M "." #x);                                                 \
    M on_heap;                                                               \
    for (M* const message : {&on_heap, Arena::CreateMessage<M>(&arena)}) {   \
      EXPECT_EQ(message->release_##x(), nullptr);                            \
      message->set_allocated_##x(std::make_unique<std::string>().release()); \
      EXPECT_EQ(int{message->g##_case()}, int{M::kX});                       \
      const std::unique_ptr<std::string> released(message->release_##x());   \
      EXPECT_NE(released, nullptr);                                          \
      EXPECT_EQ(int{message->g##_case()}, 0);                                \
      message->set_##x(kText);                                               \
      message->set_allocated_##x(nullptr);                                   \
      EXPECT_EQ(int{message->g##_case()}, 0);                                \
    }                                                                        \
  }
#include "field_list.inc"
}

TEST(OneofMessage, KeepsTheCaseWithTheMessage) {
  Arena arena;
#define ONEOF_MESSAGE(M, g, x, kX)                                         \
  {                                                                        \
    SCOPED_TRACE(#M "." #x);                                               \
    using Sub = std::decay_t<decltype(std::declval<const M&>().x())>;      \
    M on_heap;                                                             \
    for (M* const message : {&on_heap, Arena::CreateMessage<M>(&arena)}) { \
      message->set_allocated_##x(std::make_unique<Sub>().release());       \
      EXPECT_EQ(int{message->g##_case()}, int{M::kX});                     \
      const std::unique_ptr<Sub> released(message->release_##x());         \
      EXPECT_NE(released, nullptr);                                        \
      EXPECT_EQ(int{message->g##_case()}, 0);                              \
      message->mutable_##x();                                              \
      message->set_allocated_##x(nullptr);                                 \
      EXPECT_EQ(int{message->g##_case()}, 0);                              \
    }                                                                      \
  }
#include "field_list.inc"
}

}  // namespace
}  // namespace contract
