// Messages with every field set, compared with bytes derived from the rules of the wire format.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "support/expected_bytes.h"
#include "support/fill.h"

namespace contract {
namespace {

TEST(FilledMessage, IsWrittenAsTheRulesSay) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::unique_ptr<Message> message = Filled(prototype, filling);
    const std::string expected = ExpectedBytes(*message);
    EXPECT_EQ(message->ByteSizeLong(), expected.size()) << prototype.GetTypeName();
    EXPECT_EQ(message->GetCachedSize(), static_cast<int>(expected.size()));
    EXPECT_EQ(DeterministicBytes(*message), expected) << prototype.GetTypeName();
  });
}

TEST(FilledMessage, ReadsBackAsItWasWritten) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::string bytes = ExpectedBytes(*Filled(prototype, filling));
    const std::unique_ptr<Message> read = NewOnHeap(prototype);
    ASSERT_TRUE(read->ParseFromString(bytes)) << prototype.GetTypeName();
    EXPECT_EQ(ExpectedBytes(*read), bytes) << prototype.GetTypeName();
    EXPECT_EQ(DeterministicBytes(*read), bytes) << prototype.GetTypeName();
  });
}

TEST(FilledMessage, HasTheSameBytesOnAnArena) {
  ForEachFilling([](const Message& prototype, int filling) {
    google::protobuf::Arena arena;
    Message& message = *prototype.New(&arena);
    Fill(message, filling);
    const std::string expected = ExpectedBytes(*Filled(prototype, filling));
    EXPECT_EQ(DeterministicBytes(message), expected) << prototype.GetTypeName();

    Message& read = *prototype.New(&arena);
    ASSERT_TRUE(read.ParseFromString(expected)) << prototype.GetTypeName();
    EXPECT_EQ(DeterministicBytes(read), expected) << prototype.GetTypeName();
  });
}

TEST(FilledMessage, IsWrittenByAscendingNumberWhateverTheOrderOfSetting) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::unique_ptr<Message> message = NewOnHeap(prototype);
    std::vector<const FieldDescriptor*> fields = Fields(*message);
    std::reverse(fields.begin(), fields.end());
    AddUnknownFields(*message, filling);
    for (const FieldDescriptor* field : fields) {
      const OneofDescriptor* oneof = field->containing_oneof();
      if (oneof == nullptr || oneof->field(filling % oneof->field_count()) == field) {
        FillField(*message, field, filling);
      }
    }
    EXPECT_EQ(DeterministicBytes(*message), ExpectedBytes(*Filled(prototype, filling)))
        << prototype.GetTypeName();
  });
}

TEST(FilledMessage, IsWrittenByAscendingNumberWhateverTheOrderOfReading) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::vector<Element> elements = ExpectedElements(*Filled(prototype, filling));
    std::vector<Element> shuffled = elements;
    std::stable_sort(shuffled.begin(), shuffled.end(), [](const Element& a, const Element& b) {
      return a.number < 1000 && (b.number >= 1000 || a.number > b.number);
    });
    const std::unique_ptr<Message> message = NewOnHeap(prototype);
    ASSERT_TRUE(message->ParseFromString(Join(shuffled))) << prototype.GetTypeName();
    EXPECT_EQ(DeterministicBytes(*message), Join(elements)) << prototype.GetTypeName();
  });
}

}  // namespace
}  // namespace contract
