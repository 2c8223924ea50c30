// Who owns a sub-message or a string after it is released or set, for every field with such
// accessors.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "field_accessors.h"
#include "support/expected_bytes.h"
#include "support/fill.h"
#include "support/log_recorder.h"
#include "support/wire.h"

namespace contract {
namespace {

constexpr char kText[] = "longer than what fits into a string object";

Message& NewOn(Arena& arena, const Message& prototype) { return *prototype.New(&arena); }

Message& FilledOn(Arena& arena, const Message& prototype) {
  Message& message = NewOn(arena, prototype);
  Fill(message, 0);
  return message;
}

std::string FilledBytes(const Message& prototype) { return ExpectedBytes(*Filled(prototype, 0)); }

std::unique_ptr<std::string> NewString(const char* text) {
  return std::make_unique<std::string>(text);
}

TEST(ReleasedMessage, OffAnArenaIsTheObjectItself) {
  ForEach(MessageFields(), [](const MessageField& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    Message* const sub = of.mutate(*message);
    Fill(*sub, 0);
    const std::unique_ptr<Message> released(of.release(*message));
    EXPECT_EQ(released.get(), sub);
    EXPECT_EQ(ExpectedBytes(*released), FilledBytes(of.value));
    EXPECT_FALSE(of.has(*message));
    EXPECT_EQ(of.release(*message), nullptr);
  });
}

TEST(ReleasedMessage, OnAnArenaIsACopyOnTheHeap) {
  ForEach(MessageFields(), [](const MessageField& of) {
    auto arena = std::make_unique<Arena>();
    Message& message = NewOn(*arena, of.prototype);
    Message* const sub = of.mutate(message);
    Fill(*sub, 0);
    const std::unique_ptr<Message> released(of.release(message));
    EXPECT_NE(released.get(), sub);
    EXPECT_EQ(released->GetArena(), nullptr);
    EXPECT_EQ(ExpectedBytes(*sub), FilledBytes(of.value));  // the arena's own stays as it was
    EXPECT_FALSE(of.has(message));
    EXPECT_EQ(of.release(message), nullptr);
    arena.reset();
    EXPECT_EQ(ExpectedBytes(*released), FilledBytes(of.value));
  });
}

TEST(ReleasedMessage, IsThePointerItselfWithoutACheckOfTheArena) {
  ForEach(MessageFields(), [](const MessageField& of) {
    Arena arena;
    Message& on_arena = NewOn(arena, of.prototype);
    Message* const sub = of.mutate(on_arena);
    EXPECT_EQ(of.unsafe_arena_release(on_arena), sub);
    EXPECT_EQ(sub->GetArena(), &arena);
    EXPECT_FALSE(of.has(on_arena));

    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    const Message* const heap_sub = of.mutate(*on_heap);
    const std::unique_ptr<Message> released(of.unsafe_arena_release(*on_heap));
    EXPECT_EQ(released.get(), heap_sub);
    EXPECT_FALSE(of.has(*on_heap));
  });
}

TEST(AllocatedMessage, OfTheSameOwnerIsTakenAsItIs) {
  ForEach(MessageFields(), [](const MessageField& of) {
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    of.mutate(*on_heap);  // deleted by what follows
    Message* const heap_sub = Filled(of.value, 0).release();
    of.set_allocated(*on_heap, heap_sub);
    EXPECT_TRUE(of.has(*on_heap));
    EXPECT_EQ(&of.get(*on_heap), heap_sub);

    Arena arena;
    Message& on_arena = NewOn(arena, of.prototype);
    Message& arena_sub = FilledOn(arena, of.value);
    of.set_allocated(on_arena, &arena_sub);
    EXPECT_TRUE(of.has(on_arena));
    EXPECT_EQ(&of.get(on_arena), &arena_sub);
  });
}

TEST(AllocatedMessage, OnTheHeapIsGivenToTheArena) {
  ForEach(MessageFields(), [](const MessageField& of) {
    Arena arena;
    Message& message = NewOn(arena, of.prototype);
    Message* const sub = Filled(of.value, 0).release();
    of.set_allocated(message, sub);
    EXPECT_EQ(&of.get(message), sub);
    EXPECT_EQ(ExpectedBytes(of.get(message)), FilledBytes(of.value));
  });
}

// The runtime takes a sub-message from the heap only. An arena cannot give away what it owns.
TEST(AllocatedMessage, OnAnotherArenaIsAFatalErrorOfTheRuntime) {
  ForEach(MessageFields(), [](const MessageField& of) {
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    Arena arena;
    Arena other;
    Message* const sub = &FilledOn(other, of.value);
    for (Message* const message : {on_heap.get(), &NewOn(arena, of.prototype)}) {
      const LogRecorder log;
      EXPECT_THROW(of.set_allocated(*message, sub), google::protobuf::FatalException);
      ASSERT_EQ(log.lines().size(), 1U);
      EXPECT_EQ(log.lines().front().level, google::protobuf::LOGLEVEL_FATAL);
      EXPECT_EQ(ExpectedBytes(*sub), FilledBytes(of.value));
    }
  });
}

TEST(AllocatedMessage, ThatIsNullClearsTheField) {
  ForEach(MessageFields(), [](const MessageField& of) {
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    Arena arena;
    for (Message* const message : {on_heap.get(), &NewOn(arena, of.prototype)}) {
      of.mutate(*message);
      of.set_allocated(*message, nullptr);
      EXPECT_FALSE(of.has(*message));
      EXPECT_EQ(message->SerializeAsString(), "");
    }
  });
}

TEST(AllocatedMessage, IsStoredAsItIsWithoutACheckOfTheArena) {
  ForEach(MessageFields(), [](const MessageField& of) {
    Arena arena;
    Message& on_arena = NewOn(arena, of.prototype);
    const std::unique_ptr<Message> on_heap = Filled(of.value, 0);
    of.unsafe_arena_set_allocated(on_arena, on_heap.get());
    EXPECT_TRUE(of.has(on_arena));
    EXPECT_EQ(&of.get(on_arena), on_heap.get());
    of.unsafe_arena_set_allocated(on_arena, nullptr);
    EXPECT_FALSE(of.has(on_arena));
    EXPECT_EQ(ExpectedBytes(*on_heap), FilledBytes(of.value));
  });
}

TEST(ReleasedString, BelongsToTheCaller) {
  ForEach(StringFields(), [](const StringField& of) {
    auto arena = std::make_unique<Arena>();
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    for (Message* const message : {on_heap.get(), &NewOn(*arena, of.prototype)}) {
      *of.mutate(*message) = kText;
      const std::unique_ptr<std::string> released(of.release(*message));
      ASSERT_NE(released, nullptr);
      EXPECT_EQ(*released, kText);
      EXPECT_EQ(of.get(*message), "");
      EXPECT_EQ(message->SerializeAsString(), "");
      if (message->GetArena() != nullptr) {
        arena.reset();
        EXPECT_EQ(*released, kText);
      }
    }
  });
}

TEST(AllocatedString, BelongsToTheMessageOrItsArena) {
  ForEach(StringFields(), [](const StringField& of) {
    Arena arena;
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    for (Message* const message : {on_heap.get(), &NewOn(arena, of.prototype)}) {
      *of.mutate(*message) = "replaced";
      of.set_allocated(*message, NewString(kText).release());
      EXPECT_EQ(of.get(*message), kText);
      EXPECT_EQ(message->SerializeAsString(),
                wire::LengthDelimitedField(of.field->number(), kText));
    }
  });
}

TEST(AllocatedString, ThatIsNullLeavesTheFieldEmpty) {
  ForEach(StringFields(), [](const StringField& of) {
    Arena arena;
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    for (Message* const message : {on_heap.get(), &NewOn(arena, of.prototype)}) {
      *of.mutate(*message) = kText;
      of.set_allocated(*message, nullptr);
      EXPECT_EQ(of.get(*message), "");
      EXPECT_EQ(message->SerializeAsString(), "");
    }
  });
}

// The same field by the accessors of its oneof.
const OneofMember& MemberOf(const FieldDescriptor* field) {
  return *std::find_if(OneofMembers().begin(), OneofMembers().end(),
                       [field](const OneofMember& member) { return member.field == field; });
}

TEST(OneofString, KeepsTheCaseWithTheString) {
  ForEach(StringFields(), [](const StringField& of) {
    if (of.field->containing_oneof() == nullptr) {
      return;
    }
    const OneofMember& member = MemberOf(of.field);
    Arena arena;
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    for (Message* const message : {on_heap.get(), &NewOn(arena, of.prototype)}) {
      EXPECT_EQ(of.release(*message), nullptr);
      of.set_allocated(*message, NewString("").release());
      EXPECT_EQ(member.get_case(*message), member.case_number);
      const std::unique_ptr<std::string> released(of.release(*message));
      EXPECT_NE(released, nullptr);
      EXPECT_EQ(member.get_case(*message), 0);
      of.set(*message, kText);
      of.set_allocated(*message, nullptr);
      EXPECT_EQ(member.get_case(*message), 0);
    }
  });
}

TEST(OneofMessage, KeepsTheCaseWithTheMessage) {
  ForEach(MessageFields(), [](const MessageField& of) {
    if (of.field->containing_oneof() == nullptr) {
      return;
    }
    const OneofMember& member = MemberOf(of.field);
    Arena arena;
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    for (Message* const message : {on_heap.get(), &NewOn(arena, of.prototype)}) {
      of.set_allocated(*message, NewOnHeap(of.value).release());
      EXPECT_EQ(member.get_case(*message), member.case_number);
      const std::unique_ptr<Message> released(of.release(*message));
      EXPECT_NE(released, nullptr);
      EXPECT_EQ(member.get_case(*message), 0);
      of.mutate(*message);
      of.set_allocated(*message, nullptr);
      EXPECT_EQ(member.get_case(*message), 0);
    }
  });
}

}  // namespace
}  // namespace contract
