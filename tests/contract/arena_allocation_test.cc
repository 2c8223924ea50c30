// The accessors of a message on an arena take all memory from the arena.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>
#include <qmsg/jobqueue.pb.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "field_accessors.h"
#include "support/allocations.h"
#include "support/message_class.h"

namespace contract {
namespace {

using quor::protobuf::JQ::AttrList;

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

  Arena& operator*() { return arena_; }
  Message& New(const Message& prototype) { return *prototype.New(&arena_); }

 private:
  std::vector<char> block_;
  Arena arena_;
};

// One way to change a message through its accessors.
struct Change {
  const Message& prototype;
  std::string name;
  std::function<void(Message&)> make;
};

template <class Field>
void Add(std::vector<Change>& changes, const Field& of, const char* name,
         std::function<void(Message&)> make) {
  changes.push_back({of.prototype, of.field->full_name() + ": " + name, std::move(make)});
}

std::vector<Change> AccessorCalls() {
  std::vector<Change> all;
  for (const ScalarField& of : ScalarFields()) {
    Add(all, of, "set", [of](Message& message) { of.set(message, 1); });
    Add(all, of, "clear", of.clear);
  }
  for (const StringField& of : StringFields()) {
    Add(all, of, "set", [of](Message& message) { of.set_c_string(message, kShort); });
    Add(all, of, "mutable", [of](Message& message) { of.mutate(message); });
    Add(all, of, "assign", [of](Message& message) { of.mutate(message)->assign(kShort); });
    Add(all, of, "clear", of.clear);
  }
  for (const MessageField& of : MessageFields()) {
    Add(all, of, "mutable", [of](Message& message) { of.mutate(message); });
    Add(all, of, "clear", of.clear);
  }
  for (const RepeatedStringField& of : RepeatedStringFields()) {
    Add(all, of, "add", [of](Message& message) { of.add(message); });
    Add(all, of, "add a text", [of](Message& message) { of.add_c_string(message, kShort); });
    Add(all, of, "assign", [of](Message& message) { of.add(message)->assign(kShort); });
    Add(all, of, "mutable", [of](Message& message) { of.mutate_all(message); });
    Add(all, of, "clear", of.clear);
  }
  for (const RepeatedMessageField& of : RepeatedMessageFields()) {
    Add(all, of, "add", [of](Message& message) { of.add(message); });
    Add(all, of, "mutable", [of](Message& message) { of.mutate_all(message); });
    Add(all, of, "clear", of.clear);
  }
  for (const OneofMember& of : OneofMembers()) {
    Add(all, of, "clear the oneof", of.clear_oneof);
  }
  return all;
}

TEST(ArenaAllocation, IsAllThatTheAccessorsDo) {
  for (const Change& change : AccessorCalls()) {
    RoomyArena arena;
    Message& message = arena.New(change.prototype);
    // Twice: on an empty message, and on one that already holds the value.
    EXPECT_EQ(AllocationsOf([&] { change.make(message); }), 0U) << change.name;
    EXPECT_EQ(AllocationsOf([&] { change.make(message); }), 0U) << change.name;
  }
}

TEST(ArenaAllocation, IsAllThatTheMapDoes) {
  RoomyArena arena;
  auto& list = *Arena::CreateMessage<AttrList>(&*arena);
  EXPECT_EQ(AllocationsOf([&] { list.mutable_attr_list(); }), 0U);
  EXPECT_EQ(AllocationsOf([&] { (*list.mutable_attr_list())[1]; }), 0U);
  EXPECT_EQ(AllocationsOf([&] { (*list.mutable_attr_list())[1]; }), 0U);
  EXPECT_EQ(AllocationsOf([&] { list.clear_attr_list(); }), 0U);
}

TEST(ArenaAllocation, IsAllThatMakingAMessageDoes) {
  for (const MessageClass& type : MessageClasses()) {
    RoomyArena arena;
    EXPECT_EQ(AllocationsOf([&] { type.create_on_arena(*arena); }), 0U)
        << type.default_instance->GetTypeName();
  }
}

template <class Field>
void ExpectNoAllocationForManyElements(const std::vector<Field>& fields) {
  ForEach(fields, [](const Field& of) {
    RoomyArena arena;
    Message& message = arena.New(of.prototype);
    EXPECT_EQ(AllocationsOf([&] {
                for (int i = 0; i < 50; ++i) {
                  of.add(message);
                }
              }),
              0U);
  });
}

TEST(ArenaAllocation, IsAllThatManyElementsDo) {
  ExpectNoAllocationForManyElements(RepeatedStringFields());
  ExpectNoAllocationForManyElements(RepeatedMessageFields());
}

TEST(ArenaAllocation, LeavesTheBufferOfALongStringToTheHeap) {
  ForEach(StringFields(), [](const StringField& of) {
    RoomyArena arena;
    Message& message = arena.New(of.prototype);
    EXPECT_EQ(AllocationsOf([&] { of.mutate(message)->assign(kLong); }), 1U);
  });
}

template <class Field, class Action>
void ExpectAllocation(const std::vector<Field>& fields, const Action& action) {
  ForEach(fields, [&action](const Field& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    EXPECT_GT(AllocationsOf([&] { action(of, *message); }), 0U);
  });
}

// Shows that the counter counts.
TEST(HeapAllocation, IsCountedForMessagesOnTheHeap) {
  ExpectAllocation(StringFields(), [](const StringField& of, Message& message) {
    of.set_c_string(message, kShort);
  });
  const auto mutate = [](const MessageField& of, Message& message) { of.mutate(message); };
  ExpectAllocation(MessageFields(), mutate);
  const auto add = [](const auto& of, Message& message) { of.add(message); };
  ExpectAllocation(RepeatedStringFields(), add);
  ExpectAllocation(RepeatedMessageFields(), add);
  AttrList list;
  EXPECT_GT(AllocationsOf([&] { (*list.mutable_attr_list())[1]; }), 0U);
}

}  // namespace
}  // namespace contract
