// A message keeps unknown fields and writes them after the known ones.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include "support/expected_bytes.h"
#include "support/fill.h"
#include "support/wire.h"

namespace contract {
namespace {

constexpr int kUnusedNumber = 1000;
constexpr int kHighestNumber = 536870911;
constexpr wire::Type kTypes[] = {wire::kVarint, wire::kFixed64, wire::kLengthDelimited,
                                 wire::kStartGroup, wire::kFixed32};

wire::Type TypeOf(const FieldDescriptor& field) {
  switch (field.type()) {
    case FieldDescriptor::TYPE_STRING:
    case FieldDescriptor::TYPE_MESSAGE:
      return wire::kLengthDelimited;
    case FieldDescriptor::TYPE_DOUBLE:
      return wire::kFixed64;
    default:
      return wire::kVarint;
  }
}

std::string UnusedNumbers() {
  std::string bytes;
  for (const int number : {kHighestNumber, kUnusedNumber}) {
    for (const wire::Type type : kTypes) {
      bytes += wire::AnyField(number, type);
    }
  }
  return bytes;
}

std::string KnownNumbersWithOtherTypes(const Message& prototype) {
  std::string bytes;
  for (const FieldDescriptor* field : Fields(prototype)) {
    for (const wire::Type type : kTypes) {
      if (type != TypeOf(*field)) {
        bytes += wire::AnyField(field->number(), type);
      }
    }
  }
  return bytes;
}

std::string Unknown(const Message& prototype) {
  return UnusedNumbers() + KnownNumbersWithOtherTypes(prototype);
}

std::string Reserialised(const Message& prototype, const std::string& bytes) {
  const std::unique_ptr<Message> message = NewOnHeap(prototype);
  EXPECT_TRUE(message->ParseFromString(bytes)) << prototype.GetTypeName();
  return message->SerializeAsString();
}

TEST(UnknownFields, OfEachWireTypeAreKeptAsTheyAre) {
  for (const Message* prototype : Prototypes()) {
    EXPECT_EQ(Reserialised(*prototype, UnusedNumbers()), UnusedNumbers())
        << prototype->GetTypeName();
  }
}

TEST(UnknownFields, AreAlsoKnownNumbersWithAnotherWireType) {
  for (const Message* prototype : Prototypes()) {
    const std::string bytes = KnownNumbersWithOtherTypes(*prototype);
    const std::unique_ptr<Message> message = NewOnHeap(*prototype);
    ASSERT_TRUE(message->ParseFromString(bytes)) << prototype->GetTypeName();
    EXPECT_EQ(message->SerializeAsString(), bytes) << prototype->GetTypeName();
    message->DiscardUnknownFields();
    EXPECT_EQ(message->SerializeAsString(), "") << prototype->GetTypeName();
  }
}

TEST(UnknownFields, AreWrittenAfterTheKnownOnes) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::unique_ptr<Message> message = Filled(prototype, filling);
    message->DiscardUnknownFields();
    const std::string known = ExpectedBytes(*message);
    const std::string unknown = Unknown(prototype);
    ASSERT_TRUE(message->ParseFromString(unknown + known)) << prototype.GetTypeName();
    EXPECT_EQ(DeterministicBytes(*message), known + unknown) << prototype.GetTypeName();
  });
}

TEST(UnknownFields, AreKeptInEachSubMessage) {
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      if (field->type() != FieldDescriptor::TYPE_MESSAGE || field->is_map()) {
        continue;
      }
      const Message& sub =
          *prototype->GetReflection()->GetMessageFactory()->GetPrototype(field->message_type());
      const std::string bytes =
          wire::LengthDelimitedField(field->number(), Unknown(sub)) + UnusedNumbers();
      EXPECT_EQ(Reserialised(*prototype, bytes), bytes) << field->full_name();
    }
  }
}

TEST(UnknownFields, AreKeptInTheValuesOfAMap) {
  const Descriptor* attr_list =
      google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(
          "quor.protobuf.JQ.AttrList");
  google::protobuf::MessageFactory& factory =
      *google::protobuf::MessageFactory::generated_factory();
  const Message& qval = *factory.GetPrototype(
      attr_list->FindFieldByName("attr_list")->message_type()->map_value()->message_type());
  const std::string pair = wire::VarintField(1, 5) + wire::LengthDelimitedField(2, Unknown(qval));
  const std::string bytes = wire::LengthDelimitedField(1, pair);
  EXPECT_EQ(Reserialised(*factory.GetPrototype(attr_list), bytes), bytes);
}

}  // namespace
}  // namespace contract
