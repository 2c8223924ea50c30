// What MergeFrom() does to a target that has every field set.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "support/expected_bytes.h"
#include "support/fill.h"
#include "support/wire.h"

namespace contract {
namespace {

constexpr int kUnknown = 1000;

// Where an element with this number goes, after those of the same number.
std::vector<Element>::iterator PlaceAfter(std::vector<Element>& elements, int number) {
  return std::find_if(elements.begin(), elements.end(),
                      [number](const Element& element) { return element.number > number; });
}

void Remove(std::vector<Element>& elements, const FieldDescriptor& field) {
  elements.erase(
      std::remove_if(elements.begin(), elements.end(),
                     [&](const Element& element) { return element.number == field.number(); }),
      elements.end());
}

// The target's elements as they have to be when the source has nothing but `field`.
std::vector<Element> Merged(std::vector<Element> target, const std::vector<Element>& source,
                            const FieldDescriptor& field) {
  if (!field.is_repeated()) {
    Remove(target, field);
  }
  if (const OneofDescriptor* oneof = field.containing_oneof()) {
    for (int i = 0; i < oneof->field_count(); ++i) {
      Remove(target, *oneof->field(i));
    }
  }
  target.insert(PlaceAfter(target, field.number()), source.begin(), source.end());
  return target;
}

TEST(MergeFrom, AnEmptySourceChangesNothing) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::unique_ptr<Message> target = Filled(prototype, filling);
    target->MergeFrom(prototype);
    EXPECT_EQ(ExpectedBytes(*target), ExpectedBytes(*Filled(prototype, filling)))
        << prototype.GetTypeName();
  });
}

TEST(MergeFrom, GivesAnEmptyTargetAllThatTheSourceHas) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::unique_ptr<Message> source = Filled(prototype, filling);
    const std::unique_ptr<Message> on_heap = NewOnHeap(prototype);
    on_heap->MergeFrom(*source);
    EXPECT_EQ(ExpectedBytes(*on_heap), ExpectedBytes(*source)) << prototype.GetTypeName();

    Arena arena;
    Message& on_arena = *prototype.New(&arena);
    on_arena.MergeFrom(*source);
    EXPECT_EQ(ExpectedBytes(on_arena), ExpectedBytes(*source)) << prototype.GetTypeName();
  });
}

TEST(MergeFrom, OverwritesValuesAppendsElementsAndReplacesOneofMembers) {
  ForEachFilling([](const Message& prototype, int filling) {
    for (const FieldDescriptor* field : Fields(prototype)) {
      if (field->type() == FieldDescriptor::TYPE_MESSAGE && !field->is_repeated()) {
        continue;
      }
      SCOPED_TRACE(field->full_name());
      const std::unique_ptr<Message> source = NewOnHeap(prototype);
      FillField(*source, field, filling + 1);
      const std::unique_ptr<Message> target = Filled(prototype, filling);
      const std::vector<Element> expected =
          Merged(ExpectedElements(*target), ExpectedElements(*source), *field);
      target->MergeFrom(*source);
      EXPECT_EQ(ExpectedBytes(*target), Join(expected));
    }
  });
}

TEST(MergeFrom, MergesSubMessagesThatBothHave) {
  ForEachFilling([](const Message& prototype, int filling) {
    for (const FieldDescriptor* field : Fields(prototype)) {
      if (field->type() != FieldDescriptor::TYPE_MESSAGE || field->is_repeated()) {
        continue;
      }
      SCOPED_TRACE(field->full_name());
      const Reflection& reflection = *prototype.GetReflection();
      const std::unique_ptr<Message> target = NewOnHeap(prototype);
      Fill(*reflection.MutableMessage(target.get(), field), filling);
      const std::string sub = ExpectedBytes(reflection.GetMessage(*target, field));

      // The source's sub-message has one field of its own, which lands behind the others.
      const std::unique_ptr<Message> source = NewOnHeap(prototype);
      Message& source_sub = *reflection.MutableMessage(source.get(), field);
      source_sub.GetReflection()->MutableUnknownFields(&source_sub)->AddVarint(kUnknown, 5);

      target->MergeFrom(*source);
      EXPECT_EQ(target->GetReflection()->HasField(*target, field), true);
      EXPECT_EQ(ExpectedBytes(*target),
                wire::LengthDelimitedField(field->number(), sub + wire::VarintField(kUnknown, 5)));
    }
  });
}

TEST(MergeFrom, ReplacesAnotherMemberOfTheOneofByASubMessage) {
  ForEachFilling([](const Message& prototype, int filling) {
    for (const FieldDescriptor* field : Fields(prototype)) {
      if (field->type() != FieldDescriptor::TYPE_MESSAGE || field->containing_oneof() == nullptr) {
        continue;
      }
      SCOPED_TRACE(field->full_name());
      const std::unique_ptr<Message> target = Filled(prototype, filling);
      if (target->GetReflection()->HasField(*target, field)) {
        continue;
      }
      const std::unique_ptr<Message> source = NewOnHeap(prototype);
      FillField(*source, field, filling + 1);
      const std::vector<Element> expected =
          Merged(ExpectedElements(*target), ExpectedElements(*source), *field);
      target->MergeFrom(*source);
      EXPECT_EQ(ExpectedBytes(*target), Join(expected));
    }
  });
}

TEST(MergeFrom, AppendsUnknownFields) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::unique_ptr<Message> target = Filled(prototype, filling);
    const std::unique_ptr<Message> source = NewOnHeap(prototype);
    source->GetReflection()->MutableUnknownFields(source.get())->AddVarint(kUnknown, 5);
    target->MergeFrom(*source);
    EXPECT_EQ(ExpectedBytes(*target),
              ExpectedBytes(*Filled(prototype, filling)) + wire::VarintField(kUnknown, 5))
        << prototype.GetTypeName();
  });
}

}  // namespace
}  // namespace contract
