// The generated accessors of every field, by kind of field.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <set>

#include "field_accessors.h"
#include "support/message_list.h"
#include "support/wire.h"

namespace contract {
namespace {

using Strings = std::vector<std::string>;

// Just this field is set.
void ExpectOnly(const Message& message, const FieldDescriptor* field) {
  std::vector<const FieldDescriptor*> set;
  message.GetReflection()->ListFields(message, &set);
  EXPECT_EQ(set, std::vector<const FieldDescriptor*>{field});
}

void ExpectNothing(const Message& message) { EXPECT_EQ(message.SerializeAsString(), ""); }

bool IsOneofMember(const FieldDescriptor* field) { return field->containing_oneof() != nullptr; }

std::string KindOf(const FieldDescriptor& field) {
  const bool is_string = field.type() == FieldDescriptor::TYPE_STRING;
  const bool is_message = field.type() == FieldDescriptor::TYPE_MESSAGE;
  return std::string(field.is_repeated() ? "repeated " : "") + (is_string    ? "string"
                                                                : is_message ? "message"
                                                                             : "scalar");
}

TEST(FieldAccessors, AreListedForEachFieldOnceWithItsKind) {
  std::multiset<std::string> declared;
  std::multiset<std::string> declared_members;
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      if (!field->is_map()) {
        declared.insert(field->full_name() + ": " + KindOf(*field));
      }
      if (IsOneofMember(field)) {
        declared_members.insert(field->full_name());
      }
    }
  }
  std::multiset<std::string> listed;
  const auto add = [&listed](const auto& fields, const char* kind) {
    for (const auto& each : fields) {
      listed.insert(each.field->full_name() + ": " + kind);
    }
  };
  add(ScalarFields(), "scalar");
  add(StringFields(), "string");
  add(MessageFields(), "message");
  add(RepeatedStringFields(), "repeated string");
  add(RepeatedMessageFields(), "repeated message");
  EXPECT_EQ(listed, declared);

  std::multiset<std::string> listed_members;
  for (const OneofMember& member : OneofMembers()) {
    listed_members.insert(member.field->full_name());
  }
  EXPECT_EQ(listed_members, declared_members);
}

// The value whose varint is the longest, as the field gives it back.
std::int64_t Longest(const FieldDescriptor& field) {
  switch (field.type()) {
    case FieldDescriptor::TYPE_BOOL:
      return 1;
    case FieldDescriptor::TYPE_UINT32:
      return 0xffffffff;
    default:
      return -1;
  }
}

// The field's bytes. A double is -1 or 1.
std::string BytesOf(const FieldDescriptor& field, std::int64_t value) {
  return field.type() == FieldDescriptor::TYPE_DOUBLE
             ? wire::Fixed64Field(field.number(),
                                  value < 0 ? 0xbff0'0000'0000'0000 : 0x3ff0'0000'0000'0000)
             : wire::VarintField(field.number(), static_cast<std::uint64_t>(value));
}

TEST(ScalarAccessors, SetReadAndClear) {
  ForEach(ScalarFields(), [](const ScalarField& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    EXPECT_EQ(of.get(*message), 0);
    for (const std::int64_t value : {std::int64_t{1}, Longest(*of.field)}) {
      of.set(*message, value);
      EXPECT_EQ(of.get(*message), value);
      ExpectOnly(*message, of.field);
      EXPECT_EQ(message->SerializeAsString(), BytesOf(*of.field, value));

      const std::unique_ptr<Message> read = NewOnHeap(of.prototype);
      ASSERT_TRUE(read->ParseFromString(BytesOf(*of.field, value)));
      EXPECT_EQ(of.get(*read), value);
    }
    of.clear(*message);
    EXPECT_EQ(of.get(*message), 0);
    ExpectNothing(*message);
  });
}

TEST(ScalarAccessors, ShowPresenceInOneofsOnly) {
  ForEach(ScalarFields(), [](const ScalarField& of) {
    EXPECT_EQ(of.has_presence, IsOneofMember(of.field));
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    of.set(*message, 0);
    EXPECT_EQ(!message->SerializeAsString().empty(), IsOneofMember(of.field));
  });
}

TEST(StringAccessors, SetReadChangeAndClear) {
  ForEach(StringFields(), [](const StringField& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    EXPECT_EQ(of.get(*message), "");
    EXPECT_EQ(&of.get(*message), &of.get(of.prototype));
    of.set(*message, "a string");
    EXPECT_EQ(of.get(*message), "a string");
    ExpectOnly(*message, of.field);
    EXPECT_EQ(message->SerializeAsString(),
              wire::LengthDelimitedField(of.field->number(), "a string"));
    of.set_c_string(*message, "a pointer");
    EXPECT_EQ(of.get(*message), "a pointer");
    of.set_length(*message, "pointer and length", 7);
    EXPECT_EQ(of.get(*message), "pointer");
    of.set_moved(*message, "moved");
    EXPECT_EQ(of.get(*message), "moved");
    of.mutate(*message)->append(" on");
    EXPECT_EQ(of.get(*message), "moved on");
    of.clear(*message);
    EXPECT_EQ(of.get(*message), "");
    ExpectNothing(*message);
  });
}

TEST(StringAccessors, ShowPresenceInOneofsOnly) {
  ForEach(StringFields(), [](const StringField& of) {
    EXPECT_EQ(of.has_presence, IsOneofMember(of.field));
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    of.set(*message, "");
    EXPECT_EQ(!message->SerializeAsString().empty(), IsOneofMember(of.field));
  });
}

TEST(StringAccessors, ReadTheLastOfSeveralTexts) {
  ForEach(StringFields(), [](const StringField& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    ASSERT_TRUE(message->ParseFromString(wire::LengthDelimitedField(of.field->number(), "first") +
                                         wire::LengthDelimitedField(of.field->number(), "last")));
    EXPECT_EQ(of.get(*message), "last");
  });
}

TEST(MessageAccessors, ShowPresenceAndReadTheDefaultInstanceWhenAbsent) {
  ForEach(MessageFields(), [](const MessageField& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    EXPECT_FALSE(of.has(of.prototype));
    EXPECT_FALSE(of.has(*message));
    EXPECT_EQ(&of.get(*message), &of.value);
    EXPECT_FALSE(of.has(*message));
    const Message* const sub = of.mutate(*message);
    EXPECT_TRUE(of.has(*message));
    EXPECT_EQ(&of.get(*message), sub);
    EXPECT_EQ(of.mutate(*message), sub);
    ExpectOnly(*message, of.field);
    EXPECT_EQ(message->SerializeAsString(), wire::LengthDelimitedField(of.field->number(), ""));
    of.clear(*message);
    EXPECT_FALSE(of.has(*message));
    EXPECT_EQ(&of.get(*message), &of.value);
    ExpectNothing(*message);
  });
}

TEST(RepeatedStringAccessors, AddSetReadAndClear) {
  ForEach(RepeatedStringFields(), [](const RepeatedStringField& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    EXPECT_EQ(of.size(*message), 0);
    EXPECT_EQ(*of.add(*message), "");
    of.add_copy(*message, "a string");
    of.add_moved(*message, "moved");
    of.add_c_string(*message, "a pointer");
    of.add_length(*message, "pointer and length", 7);
    EXPECT_EQ(Strings(of.get_all(*message).begin(), of.get_all(*message).end()),
              (Strings{"", "a string", "moved", "a pointer", "pointer"}));
    EXPECT_EQ(of.size(*message), 5);
    of.set(*message, 0, "a string");
    of.set_moved(*message, 1, "moved");
    of.set_c_string(*message, 2, "a pointer");
    of.set_length(*message, 3, "pointer and length", 7);
    *of.mutate(*message, 4) = "changed";
    const Strings set = {"a string", "moved", "a pointer", "pointer", "changed"};
    std::string bytes;
    for (int i = 0; i < 5; ++i) {
      const std::string& expected = set[static_cast<std::size_t>(i)];
      EXPECT_EQ(of.get(*message, i), expected);
      bytes += wire::LengthDelimitedField(of.field->number(), expected);
    }
    EXPECT_EQ(of.mutate_all(*message), &of.get_all(*message));
    ExpectOnly(*message, of.field);
    EXPECT_EQ(message->SerializeAsString(), bytes);
    of.clear(*message);
    EXPECT_EQ(of.size(*message), 0);
    ExpectNothing(*message);
  });
}

TEST(RepeatedStringAccessors, KeepClearedElementsForReuse) {
  ForEach(RepeatedStringFields(), [](const RepeatedStringField& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    const std::string* const first = of.add(*message);
    of.clear(*message);
    EXPECT_EQ(of.add(*message), first);
  });
}

TEST(RepeatedMessageAccessors, AddReadAndClear) {
  ForEach(RepeatedMessageFields(), [](const RepeatedMessageField& of) {
    const std::unique_ptr<Message> message = NewOnHeap(of.prototype);
    EXPECT_EQ(of.size(*message), 0);
    const Message* const first = of.add(*message);
    const Message* const second = of.add(*message);
    EXPECT_EQ(of.size(*message), 2);
    EXPECT_EQ(&of.get(*message, 0), first);
    EXPECT_EQ(of.mutate(*message, 1), second);
    EXPECT_EQ(&of.get_of_all(*message, 1), second);
    EXPECT_EQ(of.mutate_all(*message), of.all(*message));
    ExpectOnly(*message, of.field);
    const std::string element = wire::LengthDelimitedField(of.field->number(), "");
    EXPECT_EQ(message->SerializeAsString(), element + element);
    of.clear(*message);
    EXPECT_EQ(of.size(*message), 0);
    ExpectNothing(*message);
    EXPECT_EQ(of.add(*message), first) << "an element was not kept for reuse";

    ASSERT_TRUE(message->ParseFromString(element + element));
    EXPECT_EQ(of.size(*message), 2);
  });
}

TEST(MapAccessors, InsertReadAndClear) {
  JQ::AttrList message;
  EXPECT_EQ(message.attr_list_size(), 0);
  (*message.mutable_attr_list())[-1].set_int_value(7);
  EXPECT_EQ(message.attr_list_size(), 1);
  EXPECT_EQ(message.attr_list().at(-1).int_value(), 7);
  EXPECT_EQ(message.mutable_attr_list(), &message.attr_list());
  ExpectOnly(message, JQ::AttrList::descriptor()->FindFieldByName("attr_list"));
  message.clear_attr_list();
  EXPECT_EQ(message.attr_list_size(), 0);
  ExpectNothing(message);
}

TEST(OneofAccessors, SetTheCaseToTheNumberOfTheMember) {
  ForEach(OneofMembers(), [](const OneofMember& member) {
    const std::unique_ptr<Message> message = NewOnHeap(member.prototype);
    EXPECT_FALSE(member.has(*message));
    EXPECT_EQ(member.get_case(*message), 0);
    member.set(*message);
    EXPECT_TRUE(member.has(*message));
    EXPECT_EQ(member.get_case(*message), member.case_number);
    EXPECT_EQ(member.case_number, member.field->number());
    member.clear(*message);
    EXPECT_FALSE(member.has(*message));
    EXPECT_EQ(member.get_case(*message), 0);
    ExpectNothing(*message);
  });
}

TEST(OneofCase, IsZeroWhenNoMemberIsSet) {
  EXPECT_EQ(int{Config::Value::VALUE_NOT_SET}, 0);
  EXPECT_EQ(int{JQ::QueueId::ID_OR_NAME_NOT_SET}, 0);
  EXPECT_EQ(int{JQ::JobId::QUEUE_ID_OR_NAME_NOT_SET}, 0);
  EXPECT_EQ(int{JQ::JobId::JOB_ID_OR_NAME_NOT_SET}, 0);
  EXPECT_EQ(int{Monitor::Event::DATA_NOT_SET}, 0);
  EXPECT_EQ(int{QuorPHP::QVal::VALUE_NOT_SET}, 0);
  EXPECT_EQ(int{QuorPHP::QuorArrayValue::KEY_NOT_SET}, 0);
  EXPECT_EQ(int{Tarq::SqlTransaction::PARENT_NOT_SET}, 0);
  EXPECT_EQ(int{Tarq::SqlQuery::CONNECTION_NOT_SET}, 0);
  EXPECT_EQ(int{Tarq::SqlQuery::DRIVER_NOT_SET}, 0);
  EXPECT_EQ(int{Tarq::SqlQuery::TRANSACTION_NOT_SET}, 0);
}

// Calls check(member, other) for each two members of one oneof.
template <class Check>
void ForEachPair(const Check& check) {
  for (const OneofMember& member : OneofMembers()) {
    for (const OneofMember& other : OneofMembers()) {
      if (other.field != member.field &&
          other.field->containing_oneof() == member.field->containing_oneof()) {
        SCOPED_TRACE(member.field->full_name() + " and " + other.field->full_name());
        check(member, other);
      }
    }
  }
}

TEST(OneofAccessors, ReplaceOneMemberByAnother) {
  ForEachPair([](const OneofMember& member, const OneofMember& other) {
    const std::unique_ptr<Message> message = NewOnHeap(member.prototype);
    other.set(*message);
    EXPECT_TRUE(member.reads_as_default(*message));
    member.set(*message);
    EXPECT_FALSE(other.has(*message));
    EXPECT_TRUE(other.reads_as_default(*message));
    EXPECT_TRUE(member.has(*message));
  });
}

TEST(OneofAccessors, ClearAMemberOnlyIfItIsTheOneSet) {
  ForEachPair([](const OneofMember& member, const OneofMember& other) {
    const std::unique_ptr<Message> message = NewOnHeap(member.prototype);
    member.set(*message);
    other.clear(*message);
    EXPECT_TRUE(member.has(*message));
  });
}

TEST(OneofAccessors, ClearTheWholeOneof) {
  ForEach(OneofMembers(), [](const OneofMember& member) {
    const std::unique_ptr<Message> message = NewOnHeap(member.prototype);
    member.set(*message);
    member.clear_oneof(*message);
    EXPECT_EQ(member.get_case(*message), 0);
    ExpectNothing(*message);
  });
}

}  // namespace
}  // namespace contract
