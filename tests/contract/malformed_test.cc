// Malformed bytes are refused. What was read before the fault stays readable.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "support/expected_bytes.h"
#include "support/fill.h"
#include "support/wire.h"

namespace contract {
namespace {

using namespace std::string_literals;

constexpr int kUnused = 1000;
// The runtime's default limit for messages and groups inside each other.
constexpr int kDeepest = 100;

bool StartsWith(const std::vector<Element>& elements, const std::vector<Element>& start) {
  return elements.size() >= start.size() &&
         std::equal(start.begin(), start.end(), elements.begin());
}

std::string NestedGroups(int depth) {
  std::string bytes;
  for (int i = 0; i < depth; ++i) {
    bytes = wire::GroupField(kUnused, bytes);
  }
  return bytes;
}

// Neither alone nor behind a whole message of any type.
void ExpectRefused(const std::string& malformed) {
  for (const Message* prototype : Prototypes()) {
    SCOPED_TRACE(prototype->GetTypeName());
    const std::unique_ptr<Message> message = NewOnHeap(*prototype);
    EXPECT_FALSE(message->ParseFromString(malformed));

    const std::unique_ptr<Message> good = Filled(*prototype, 0);
    const std::vector<Element> before = ExpectedElements(*good);
    EXPECT_FALSE(message->ParseFromString(Join(before) + malformed));
    EXPECT_TRUE(StartsWith(ExpectedElements(*message), before));
  }
}

TEST(CutInput, IsRefusedInsideAFieldAndReadAtItsEnd) {
  for (const Message* prototype : Prototypes()) {
    SCOPED_TRACE(prototype->GetTypeName());
    const std::vector<Element> elements = ExpectedElements(*Filled(*prototype, 0));
    const std::string bytes = Join(elements);
    const std::unique_ptr<Message> message = NewOnHeap(*prototype);
    std::vector<Element> whole;
    for (const Element& element : elements) {
      const std::size_t start = Join(whole).size();
      ASSERT_TRUE(message->ParseFromString(bytes.substr(0, start)));
      EXPECT_EQ(ExpectedElements(*message), whole);
      for (std::size_t cut = start + 1; cut < start + element.bytes.size(); ++cut) {
        ASSERT_FALSE(message->ParseFromString(bytes.substr(0, cut))) << "cut at " << cut;
      }
      EXPECT_TRUE(StartsWith(ExpectedElements(*message), whole));
      whole.push_back(element);
    }
    EXPECT_TRUE(message->ParseFromString(bytes));
  }
}

TEST(LengthBeyondTheInput, IsRefusedInEachField) {
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      if (field->type() != FieldDescriptor::TYPE_STRING &&
          field->type() != FieldDescriptor::TYPE_MESSAGE) {
        continue;
      }
      SCOPED_TRACE(field->full_name());
      const std::unique_ptr<Message> message = NewOnHeap(*prototype);
      const std::string before = wire::VarintField(kUnused, 7);
      for (const std::string& length : {"\x04"s, "\xff\xff\xff\xff\x07"s, "\xff\xff\xff\xff\x0f"s,
                                        "\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"s}) {
        std::string bytes = before;
        bytes += wire::Tag(field->number(), wire::kLengthDelimited);
        bytes += length;
        bytes += "\x08\x01\x00"s;
        EXPECT_FALSE(message->ParseFromString(bytes));
        EXPECT_EQ(ExpectedElements(*message).back(), (Element{kUnused, before}));
      }
    }
  }
}

TEST(LengthBeyondTheInput, IsRefusedInAnUnknownField) {
  ExpectRefused(wire::Tag(kUnused, wire::kLengthDelimited) + "\x04" + "abc");
}

TEST(Group, WithoutAnEndIsRefused) {
  ExpectRefused(wire::Tag(kUnused, wire::kStartGroup));
  ExpectRefused(wire::Tag(kUnused, wire::kStartGroup) + wire::VarintField(1, 1));
}

TEST(Group, WithoutAStartIsRefused) {
  ExpectRefused(wire::Tag(kUnused, wire::kEndGroup));
  ExpectRefused(wire::Tag(1, wire::kEndGroup));
}

TEST(Group, WithTheEndOfAnotherIsRefused) {
  ExpectRefused(wire::Tag(kUnused, wire::kStartGroup) + wire::Tag(kUnused + 1, wire::kEndGroup));
}

TEST(FieldNumberZero, IsRefusedWithEachWireType) {
  for (const wire::Type type :
       {wire::kVarint, wire::kFixed64, wire::kLengthDelimited, wire::kStartGroup, wire::kFixed32}) {
    ExpectRefused(wire::AnyField(0, type));
  }
  ExpectRefused(wire::Tag(0, wire::kEndGroup));
}

TEST(WireType, SixOrSevenIsRefused) {
  ExpectRefused(wire::Varint(kUnused << 3 | 6) + "\x01");
  ExpectRefused(wire::Varint(kUnused << 3 | 7) + "\x01");
  ExpectRefused("\x0e\x01");
  ExpectRefused("\x0f\x01");
}

TEST(Varint, OfMoreThanTenBytesIsRefusedInEachField) {
  const std::string too_long = std::string(10, '\x80') + "\x01";
  ExpectRefused(wire::Tag(kUnused, wire::kVarint) + too_long);
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      const std::unique_ptr<Message> message = NewOnHeap(*prototype);
      EXPECT_FALSE(message->ParseFromString(wire::Tag(field->number(), wire::kVarint) + too_long))
          << field->full_name();
    }
  }
}

TEST(Varint, OfTooManyBytesIsRefusedAsATag) { ExpectRefused("\x88\x80\x80\x80\x80\x00\x01"s); }

TEST(Nesting, IsReadDownToTheLimitAndRefusedBelow) {
  ExpectRefused(NestedGroups(kDeepest + 1));
  for (const Message* prototype : Prototypes()) {
    const std::unique_ptr<Message> message = NewOnHeap(*prototype);
    EXPECT_TRUE(message->ParseFromString(NestedGroups(kDeepest))) << prototype->GetTypeName();
    EXPECT_EQ(message->SerializeAsString(), NestedGroups(kDeepest)) << prototype->GetTypeName();
  }
}

TEST(Nesting, CountsSubMessagesToo) {
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      if (field->type() != FieldDescriptor::TYPE_MESSAGE || field->is_map()) {
        continue;
      }
      SCOPED_TRACE(field->full_name());
      const std::unique_ptr<Message> message = NewOnHeap(*prototype);
      EXPECT_TRUE(message->ParseFromString(
          wire::LengthDelimitedField(field->number(), NestedGroups(kDeepest - 1))));
      EXPECT_FALSE(message->ParseFromString(
          wire::LengthDelimitedField(field->number(), NestedGroups(kDeepest))));
    }
  }
}

}  // namespace
}  // namespace contract
