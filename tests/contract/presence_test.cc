// When each field of each message type is written, and as which bytes.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "support/prototypes.h"
#include "support/wire.h"

namespace contract {
namespace {

using namespace std::string_literals;

constexpr std::uint64_t kMaxUint64 = std::numeric_limits<std::uint64_t>::max();

struct Sample {
  std::function<void(const Reflection&, Message*, const FieldDescriptor*)> set;
  // Without the tag.
  std::string value;
};

template <class T>
Sample Scalar(void (Reflection::*set)(Message*, const FieldDescriptor*, T) const, T value,
              std::string bytes) {
  return {[=](const Reflection& reflection, Message* message, const FieldDescriptor* field) {
            (reflection.*set)(message, field, value);
          },
          std::move(bytes)};
}

Sample Text(const std::string& text) {
  return {[=](const Reflection& reflection, Message* message, const FieldDescriptor* field) {
            reflection.SetString(message, field, text);
          },
          wire::Varint(text.size()) + text};
}

Sample EmptyMessage() {
  return {[](const Reflection& reflection, Message* message, const FieldDescriptor* field) {
            reflection.MutableMessage(message, field);
          },
          "\x00"s};
}

// The value that only a oneof member writes.
Sample Zero(const FieldDescriptor& field) {
  switch (field.type()) {
    case FieldDescriptor::TYPE_INT32:
      return Scalar(&Reflection::SetInt32, 0, "\x00"s);
    case FieldDescriptor::TYPE_INT64:
      return Scalar(&Reflection::SetInt64, std::int64_t{0}, "\x00"s);
    case FieldDescriptor::TYPE_UINT32:
      return Scalar(&Reflection::SetUInt32, 0U, "\x00"s);
    case FieldDescriptor::TYPE_UINT64:
      return Scalar(&Reflection::SetUInt64, std::uint64_t{0}, "\x00"s);
    case FieldDescriptor::TYPE_BOOL:
      return Scalar(&Reflection::SetBool, false, "\x00"s);
    case FieldDescriptor::TYPE_ENUM:
      return Scalar(&Reflection::SetEnumValue, 0, "\x00"s);
    case FieldDescriptor::TYPE_DOUBLE:
      return Scalar(&Reflection::SetDouble, 0.0, std::string(8, '\0'));
    default:
      return Text("");
  }
}

std::vector<Sample> NonZero(const FieldDescriptor& field) {
  switch (field.type()) {
    case FieldDescriptor::TYPE_INT32:
      return {
          Scalar(&Reflection::SetInt32, 1, "\x01"s),
          Scalar(&Reflection::SetInt32, 300, "\xac\x02"s),
          Scalar(&Reflection::SetInt32, -1, "\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"s),
          Scalar(&Reflection::SetInt32, std::numeric_limits<int>::max(), "\xff\xff\xff\xff\x07"s),
          Scalar(&Reflection::SetInt32, std::numeric_limits<int>::min(),
                 "\x80\x80\x80\x80\xf8\xff\xff\xff\xff\x01"s)};
    case FieldDescriptor::TYPE_INT64:
      return {Scalar(&Reflection::SetInt64, std::int64_t{1}, "\x01"s),
              Scalar(&Reflection::SetInt64, std::int64_t{-1},
                     "\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"s),
              Scalar(&Reflection::SetInt64, std::numeric_limits<std::int64_t>::max(),
                     "\xff\xff\xff\xff\xff\xff\xff\xff\x7f"s),
              Scalar(&Reflection::SetInt64, std::numeric_limits<std::int64_t>::min(),
                     "\x80\x80\x80\x80\x80\x80\x80\x80\x80\x01"s)};
    case FieldDescriptor::TYPE_UINT32:
      return {Scalar(&Reflection::SetUInt32, 1U, "\x01"s),
              Scalar(&Reflection::SetUInt32, 0xffffffffU, "\xff\xff\xff\xff\x0f"s)};
    case FieldDescriptor::TYPE_UINT64:
      return {
          Scalar(&Reflection::SetUInt64, std::uint64_t{1}, "\x01"s),
          Scalar(&Reflection::SetUInt64, kMaxUint64, "\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"s)};
    case FieldDescriptor::TYPE_BOOL:
      return {Scalar(&Reflection::SetBool, true, "\x01"s)};
    case FieldDescriptor::TYPE_ENUM:
      return {Scalar(&Reflection::SetEnumValue, 1, "\x01"s),
              // Not declared.
              Scalar(&Reflection::SetEnumValue, 99, "c"s),
              Scalar(&Reflection::SetEnumValue, -1, "\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"s),
              Scalar(&Reflection::SetEnumValue, std::numeric_limits<int>::min(),
                     "\x80\x80\x80\x80\xf8\xff\xff\xff\xff\x01"s)};
    case FieldDescriptor::TYPE_DOUBLE:
      return {Scalar(&Reflection::SetDouble, 1.0, "\x00\x00\x00\x00\x00\x00\xf0\x3f"s),
              Scalar(&Reflection::SetDouble, -0.0, "\x00\x00\x00\x00\x00\x00\x00\x80"s)};
    case FieldDescriptor::TYPE_STRING:
      return {Text("a"), Text("\0"s), Text(std::string(200, 'x'))};
    default:
      return {EmptyMessage()};
  }
}

std::string TagOf(const FieldDescriptor& field) {
  switch (field.type()) {
    case FieldDescriptor::TYPE_DOUBLE:
      return wire::Tag(field.number(), wire::kFixed64);
    case FieldDescriptor::TYPE_STRING:
    case FieldDescriptor::TYPE_MESSAGE:
      return wire::Tag(field.number(), wire::kLengthDelimited);
    default:
      return wire::Tag(field.number(), wire::kVarint);
  }
}

// Calls check(prototype, field) for each field that is not repeated.
template <class Check>
void ForEachSingularField(const Check& check) {
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      if (!field->is_repeated()) {
        SCOPED_TRACE(field->full_name());
        check(*prototype, field);
      }
    }
  }
}

void ExpectWritten(const Message& prototype, const FieldDescriptor* field, const Sample& sample) {
  const std::string bytes = TagOf(*field) + sample.value;
  const std::unique_ptr<Message> message = NewOnHeap(prototype);
  sample.set(*message->GetReflection(), message.get(), field);
  EXPECT_TRUE(message->GetReflection()->HasField(*message, field));
  EXPECT_EQ(message->ByteSizeLong(), bytes.size());
  EXPECT_EQ(message->SerializeAsString(), bytes);
  EXPECT_EQ(message->GetCachedSize(), static_cast<int>(bytes.size()));

  const std::unique_ptr<Message> read = NewOnHeap(prototype);
  ASSERT_TRUE(read->ParseFromString(bytes));
  EXPECT_TRUE(read->GetReflection()->HasField(*read, field));
  EXPECT_EQ(read->GetReflection()->GetUnknownFields(*read).field_count(), 0);
  EXPECT_EQ(read->SerializeAsString(), bytes);
}

TEST(EachField, IsWrittenUnderItsNumberOnceItHasAValue) {
  ForEachSingularField([](const Message& prototype, const FieldDescriptor* field) {
    for (const Sample& sample : NonZero(*field)) {
      ExpectWritten(prototype, field, sample);
    }
  });
}

TEST(EachField, OutsideAOneofIsNotWrittenAtZero) {
  ForEachSingularField([](const Message& prototype, const FieldDescriptor* field) {
    if (field->containing_oneof() != nullptr || field->type() == FieldDescriptor::TYPE_MESSAGE) {
      return;
    }
    const std::unique_ptr<Message> message = NewOnHeap(prototype);
    const Sample zero = Zero(*field);
    zero.set(*message->GetReflection(), message.get(), field);
    EXPECT_EQ(message->SerializeAsString(), "");

    ASSERT_TRUE(message->ParseFromString(TagOf(*field) + zero.value));
    EXPECT_EQ(message->SerializeAsString(), "");
  });
}

TEST(EachField, OfAOneofIsWrittenAtZeroAndKeepsTheCase) {
  ForEachSingularField([](const Message& prototype, const FieldDescriptor* field) {
    if (field->containing_oneof() == nullptr) {
      return;
    }
    const bool is_message = field->type() == FieldDescriptor::TYPE_MESSAGE;
    const Sample zero = is_message ? EmptyMessage() : Zero(*field);
    ExpectWritten(prototype, field, zero);

    const std::unique_ptr<Message> read = NewOnHeap(prototype);
    ASSERT_TRUE(read->ParseFromString(TagOf(*field) + zero.value));
    EXPECT_EQ(read->GetReflection()->GetOneofFieldDescriptor(*read, field->containing_oneof()),
              field);
  });
}

TEST(EachField, ThatIsAMessageIsAbsentFromTheDefaultInstance) {
  ForEachSingularField([](const Message& prototype, const FieldDescriptor* field) {
    EXPECT_FALSE(prototype.GetReflection()->HasField(prototype, field));
  });
}

TEST(EachField, ThatIsRepeatedWritesItsEmptyElements) {
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      if (!field->is_repeated() || field->is_map()) {
        continue;
      }
      SCOPED_TRACE(field->full_name());
      const std::unique_ptr<Message> message = NewOnHeap(*prototype);
      for (int i = 0; i < 2; ++i) {
        if (field->type() == FieldDescriptor::TYPE_STRING) {
          message->GetReflection()->AddString(message.get(), field, "");
        } else {
          message->GetReflection()->AddMessage(message.get(), field);
        }
      }
      const std::string element = wire::LengthDelimitedField(field->number(), "");
      EXPECT_EQ(message->SerializeAsString(), element + element);

      const std::unique_ptr<Message> read = NewOnHeap(*prototype);
      ASSERT_TRUE(read->ParseFromString(element + element));
      EXPECT_EQ(read->GetReflection()->FieldSize(*read, field), 2);
    }
  }
}

TEST(EachEnumField, ReadsUndeclaredValuesAsTheyAre) {
  int enum_fields = 0;
  ForEachSingularField([&](const Message& prototype, const FieldDescriptor* field) {
    if (field->type() != FieldDescriptor::TYPE_ENUM) {
      return;
    }
    ++enum_fields;
    for (const int value :
         {99, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
      const std::string bytes = wire::VarintField(
          field->number(), static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
      const std::unique_ptr<Message> message = NewOnHeap(prototype);
      ASSERT_TRUE(message->ParseFromString(bytes));
      EXPECT_EQ(message->GetReflection()->GetEnumValue(*message, field), value);
      EXPECT_EQ(message->GetReflection()->GetUnknownFields(*message).field_count(), 0);
      EXPECT_EQ(message->SerializeAsString(), bytes);
    }
  });
  EXPECT_EQ(enum_fields, 6);
}

}  // namespace
}  // namespace contract
