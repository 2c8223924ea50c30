// What Clear() removes and what it keeps.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include "field_accessors.h"
#include "support/expected_bytes.h"
#include "support/fill.h"

namespace contract {
namespace {

const Message& DefaultInstance(const Descriptor* type) {
  return *google::protobuf::MessageFactory::generated_factory()->GetPrototype(type);
}

void ExpectEmpty(const Message& message) {
  std::vector<const FieldDescriptor*> set;
  message.GetReflection()->ListFields(message, &set);
  EXPECT_TRUE(set.empty());
  EXPECT_EQ(message.GetReflection()->GetUnknownFields(message).field_count(), 0);
  EXPECT_EQ(ExpectedBytes(message), "");
  EXPECT_EQ(message.SerializeAsString(), "");
  for (const FieldDescriptor* field : Fields(message)) {
    if (field->type() == FieldDescriptor::TYPE_MESSAGE && !field->is_repeated()) {
      EXPECT_EQ(&message.GetReflection()->GetMessage(message, field),
                &DefaultInstance(field->message_type()))
          << field->full_name();
    }
  }
}

void ExpectElementsKeptForReuse(Message& message) {
  const Reflection& reflection = *message.GetReflection();
  for (const FieldDescriptor* field : Fields(message)) {
    if (!field->is_repeated() || field->is_map() ||
        field->type() != FieldDescriptor::TYPE_MESSAGE) {
      continue;
    }
    const Message* const first = reflection.MutableRepeatedMessage(&message, field, 0);
    const Message* const second = reflection.MutableRepeatedMessage(&message, field, 1);
    message.Clear();
    EXPECT_EQ(reflection.AddMessage(&message, field), first) << field->full_name();
    EXPECT_EQ(reflection.AddMessage(&message, field), second) << field->full_name();
    EXPECT_EQ(ExpectedBytes(*first), "") << field->full_name();
    EXPECT_EQ(ExpectedBytes(*second), "") << field->full_name();
  }
}

TEST(Clear, RemovesAllThatWasSet) {
  ForEachFilling([](const Message& prototype, int filling) {
    SCOPED_TRACE(prototype.GetTypeName());
    const std::unique_ptr<Message> on_heap = Filled(prototype, filling);
    on_heap->Clear();
    ExpectEmpty(*on_heap);

    Arena arena;
    Message& on_arena = *prototype.New(&arena);
    Fill(on_arena, filling);
    on_arena.Clear();
    ExpectEmpty(on_arena);
  });
}

TEST(Clear, LeavesAMessageThatCanBeFilledAgain) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::unique_ptr<Message> message = Filled(prototype, filling);
    message->Clear();
    Fill(*message, filling + 1);
    EXPECT_EQ(ExpectedBytes(*message), ExpectedBytes(*Filled(prototype, filling + 1)))
        << prototype.GetTypeName();
  });
}

TEST(Clear, KeepsTheElementsOfRepeatedFieldsForReuse) {
  for (const Message* prototype : Prototypes()) {
    ExpectElementsKeptForReuse(*Filled(*prototype, 0));

    Arena arena;
    Message& on_arena = *prototype->New(&arena);
    Fill(on_arena, 0);
    ExpectElementsKeptForReuse(on_arena);
  }
}

TEST(Clear, KeepsTheStringsOfRepeatedFieldsForReuse) {
  ForEach(RepeatedStringFields(), [](const RepeatedStringField& of) {
    Arena arena;
    const std::unique_ptr<Message> on_heap = NewOnHeap(of.prototype);
    for (Message* const message : {on_heap.get(), of.prototype.New(&arena)}) {
      const std::string* const first = of.add(*message);
      of.set(*message, 0, "text");
      message->Clear();
      EXPECT_EQ(of.add(*message), first);
      EXPECT_EQ(*first, "");
    }
  });
}

TEST(Clear, OnAnArenaDropsTheSubMessages) {
  ForEachFilling([](const Message& prototype, int filling) {
    for (const FieldDescriptor* field : Fields(prototype)) {
      if (field->type() != FieldDescriptor::TYPE_MESSAGE || field->is_repeated()) {
        continue;
      }
      Arena arena;
      Message& message = *prototype.New(&arena);
      const Message* const before = message.GetReflection()->MutableMessage(&message, field);
      Fill(*message.GetReflection()->MutableMessage(&message, field), filling);
      const std::string bytes = ExpectedBytes(*before);
      message.Clear();
      const Message* const after = message.GetReflection()->MutableMessage(&message, field);
      EXPECT_NE(after, before) << field->full_name();
      EXPECT_EQ(ExpectedBytes(*after), "") << field->full_name();
      if (field->containing_oneof() == nullptr) {
        EXPECT_EQ(ExpectedBytes(*before), bytes) << field->full_name();
      }
    }
  });
}

}  // namespace
}  // namespace contract
