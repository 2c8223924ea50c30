// The factors of docs/hostile-input.md hold for each field of each message, so for all inputs: each
// byte belongs to one field.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <array>
#include <set>

#include "reading.h"
#include "shapes.h"
#include "support/heap_use.h"
#include "support/wire.h"

namespace hostile {
namespace {

using namespace std::string_literals;
using contract::Descriptor;
using contract::FieldDescriptor;
using contract::Fields;
using contract::Prototypes;
using google::protobuf::Arena;
namespace wire = contract::wire;

// Bytes of memory for each byte of input.
constexpr std::size_t kHeapFactor = 80;
constexpr std::size_t kArenaFactor = 100;
// For the message that nothing else holds, once: itself, its lists' first places, arena blocks.
constexpr std::size_t kOnce = 1024;

// The shortest forms in which a field can be.
std::vector<std::string> ShortestForms(const FieldDescriptor* field) {
  switch (field->type()) {
    case FieldDescriptor::TYPE_STRING:
      return {wire::LengthDelimitedField(field->number(), ""),
              wire::LengthDelimitedField(field->number(), "a"),
              wire::LengthDelimitedField(field->number(), "longer than fits into a string")};
    case FieldDescriptor::TYPE_MESSAGE:
      return {wire::LengthDelimitedField(field->number(), "")};
    case FieldDescriptor::TYPE_DOUBLE:
      return {wire::Fixed64Field(field->number(), 0)};
    default:
      return {wire::VarintField(field->number(), 0)};
  }
}

// Number 15 is unused in all messages.
const std::vector<std::string>& UnknownForms() {
  static const std::vector<std::string> forms = {wire::VarintField(15, 0),
                                                 wire::LengthDelimitedField(15, ""),
                                                 wire::LengthDelimitedField(15, "a"),
                                                 wire::Fixed32Field(15, 0),
                                                 wire::Fixed64Field(15, 0),
                                                 wire::GroupField(15, ""),
                                                 wire::GroupField(15, wire::GroupField(15, ""))};
  return forms;
}

// Calls check(prototype, form) for each form of each field.
template <class Check>
void ForEachForm(const Check& check) {
  for (const Message* prototype : Prototypes()) {
    SCOPED_TRACE(prototype->GetTypeName());
    for (const FieldDescriptor* field : Fields(*prototype)) {
      SCOPED_TRACE(field->name());
      ASSERT_NE(field->number(), 15);
      for (const std::string& form : ShortestForms(field)) {
        check(*prototype, form);
      }
    }
    for (const std::string& form : UnknownForms()) {
      SCOPED_TRACE("unknown");
      check(*prototype, form);
    }
  }
}

std::set<const Descriptor*> HeldByOthers() {
  std::set<const Descriptor*> held;
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      if (field->type() == FieldDescriptor::TYPE_MESSAGE) {
        held.insert(field->is_map() ? field->message_type()->map_value()->message_type()
                                    : field->message_type());
      }
    }
  }
  return held;
}

TEST(Factor, HoldsForEachFieldInMasses) {
  constexpr std::size_t kSize = JustAbove(std::size_t{1} << 16);
  ForEachForm([](const Message& prototype, const std::string& form) {
    const std::string bytes = Repeated(form, kSize);
    const Reading heap = ReadOnHeap(prototype, bytes);
    EXPECT_TRUE(heap.accepted);
    EXPECT_LE(heap.peak, kHeapFactor * bytes.size() + kOnce);
    EXPECT_LE(ReadOnArena(prototype, bytes).peak, kArenaFactor * bytes.size() + kOnce);
  });
}

// The memory that is held after `bytes` were read. Temporary memory does not count.
std::size_t HeldOnHeap(const Message& prototype, const std::string& bytes) {
  const std::size_t before = heap_use::Bytes();
  const std::unique_ptr<Message> message = contract::NewOnHeap(prototype);
  EXPECT_TRUE(message->ParseFromString(bytes));
  return heap_use::Bytes() - before;
}

std::size_t HeldOnArena(const Message& prototype, const std::string& bytes) {
  std::array<char, 4096> block{};
  Arena arena(block.data(), block.size());
  const std::size_t before = heap_use::Bytes();
  EXPECT_TRUE(prototype.New(&arena)->ParseFromString(bytes));
  return heap_use::Bytes() - before + static_cast<std::size_t>(arena.SpaceUsed());
}

TEST(Factor, HoldsForTheFirstOfAFieldInAMessageThatOthersHold) {
  const std::set<const Descriptor*> held = HeldByOthers();
  std::size_t checked = 0;
  ForEachForm([&](const Message& prototype, const std::string& form) {
    if (held.count(prototype.GetDescriptor()) != 0) {
      EXPECT_LE(HeldOnHeap(prototype, form), HeldOnHeap(prototype, "") + kHeapFactor * form.size());
      EXPECT_LE(HeldOnArena(prototype, form),
                HeldOnArena(prototype, "") + kArenaFactor * form.size());
      ++checked;
    }
  });
  EXPECT_GT(checked, 300U);
}

TEST(Factor, HoldsForTheFirstOfAFieldInAMessageOnItsOwn) {
  ForEachForm([](const Message& prototype, const std::string& form) {
    EXPECT_LE(ReadOnHeap(prototype, form).peak, kHeapFactor * form.size() + kOnce);
    EXPECT_LE(ReadOnArena(prototype, form).peak, kArenaFactor * form.size() + kOnce);
  });
}

TEST(Factor, IsNoLargerThanNeeded) {
  if (!kFiguresApply) {
    GTEST_SKIP() << "other objects have other figures";
  }
  std::size_t heap = 0;
  std::size_t arena = 0;
  for (const Shape& shape : Shapes()) {
    heap = std::max(heap, shape.heap / shape.element);
    arena = std::max(arena, shape.arena / shape.element);
  }
  EXPECT_GE(heap, kHeapFactor * 9 / 10);
  EXPECT_GE(arena, kArenaFactor * 8 / 10);
}

}  // namespace
}  // namespace hostile
