// Each check finds a planted mistake.

#include "check.h"

#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>
#include <qmsg/config.pb.h>
#include <qmsg/quorphp.pb.h>

#include <algorithm>

#include "support/fill.h"
#include "support/prototypes.h"

namespace fuzz {
namespace {

using namespace std::string_literals;
using contract::DeterministicBytes;
using google::protobuf::DescriptorProto;
using google::protobuf::FieldDescriptorProto;
using google::protobuf::FileDescriptorProto;
using quor::protobuf::Config::Value;
using quor::protobuf::QuorPHP::RShutdownData;

// The first line of what Check() reports, or "agreed".
std::string Verdict(const TypeUnderTest& type, const std::string& bytes) {
  try {
    Check(type, bytes);
  } catch (const Disagreement& disagreement) {
    const std::string said = disagreement.what();
    return said.substr(0, said.find('\n'));
  }
  return "agreed";
}

// The name of a case among the tests.
template <class Case>
std::string DescriptionOf(const ::testing::TestParamInfo<Case>& info) {
  std::string name = info.param.description;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

TEST(Check, AgreesOnFilledMessagesOfEachType) {
  DynamicTypes dynamic_types;
  contract::ForEachFilling([&](const Message& prototype, int filling) {
    const std::string bytes = contract::Filled(prototype, filling)->SerializeAsString();
    EXPECT_EQ(Verdict(FindType(prototype.GetTypeName(), dynamic_types), bytes), "agreed");
  });
}

// A schema that differs in one field from the one that was compiled.
struct OtherSchema {
  const char* description;
  const char* type;
  const char* field;
  void (*change)(DescriptorProto& message, FieldDescriptorProto& field);
  std::string bytes;
  const char* verdict;
};

void PrintTo(const OtherSchema& other, std::ostream* out) { *out << other.description; }

DynamicTypes::Change ChangeOf(const OtherSchema& other) {
  return [&other](FileDescriptorProto& file) {
    for (DescriptorProto& message : *file.mutable_message_type()) {
      for (FieldDescriptorProto& field : *message.mutable_field()) {
        if (file.package() + '.' + message.name() == other.type && field.name() == other.field) {
          other.change(message, field);
        }
      }
    }
  };
}

template <FieldDescriptorProto::Type kType>
void OfType(DescriptorProto& /*message*/, FieldDescriptorProto& field) {
  field.set_type(kType);
}

void Repeated(DescriptorProto& /*message*/, FieldDescriptorProto& field) {
  field.set_label(FieldDescriptorProto::LABEL_REPEATED);
}

void Renumbered(DescriptorProto& /*message*/, FieldDescriptorProto& field) {
  field.set_number(field.number() + 100);
}

void WithoutOneof(DescriptorProto& message, FieldDescriptorProto& field) {
  field.clear_oneof_index();
  message.clear_oneof_decl();
}

class OtherSchemaTest : public ::testing::TestWithParam<OtherSchema> {};

TEST_P(OtherSchemaTest, IsNoticed) {
  const OtherSchema& other = GetParam();
  DynamicTypes dynamic_types;
  EXPECT_EQ(Verdict(FindType(other.type, dynamic_types), other.bytes), "agreed");
  DynamicTypes other_types(ChangeOf(other));
  EXPECT_EQ(Verdict(FindType(other.type, other_types), other.bytes), other.verdict);
}

constexpr char kOtherBytes[] = "Read by descriptors";
constexpr char kAccepts[] = "By descriptors, the reader accepts what is refused on the heap";
constexpr char kRefuses[] = "By descriptors, the reader refuses what is accepted on the heap";

INSTANTIATE_TEST_SUITE_P(
    Each, OtherSchemaTest,
    ::testing::Values(
        OtherSchema{"a number of more bits", "quor.protobuf.QuorPHP.StackTraceFrame", "line_no",
                    OfType<FieldDescriptorProto::TYPE_UINT64>, "\x20\xff\xff\xff\xff\x1f",
                    kOtherBytes},
        OtherSchema{"a number with a sign", "quor.protobuf.QuorPHP.StackTraceFrame", "line_no",
                    OfType<FieldDescriptorProto::TYPE_INT32>, "\x20\xff\xff\xff\xff\x0f",
                    kOtherBytes},
        OtherSchema{"a number of another wire type", "quor.protobuf.JQ.Result", "ok",
                    OfType<FieldDescriptorProto::TYPE_FIXED32>, "\x08\0"s, kOtherBytes},
        OtherSchema{"a truth value as a number", "quor.protobuf.JQ.Result", "ok",
                    OfType<FieldDescriptorProto::TYPE_INT32>, "\x08\x02", kOtherBytes},
        OtherSchema{"bytes instead of text", "quor.protobuf.Login.Login", "hostname",
                    OfType<FieldDescriptorProto::TYPE_BYTES>, "\x0a\x01\xff", kAccepts},
        OtherSchema{"text instead of a message", "quor.protobuf.Tarq.SqlQuery", "error",
                    [](DescriptorProto& /*message*/, FieldDescriptorProto& field) {
                      field.set_type(FieldDescriptorProto::TYPE_STRING);
                      field.clear_type_name();
                    },
                    "\x42\x03\x10\x80\x01", kRefuses},
        OtherSchema{"a list instead of a field", "quor.protobuf.Config.Value", "key", Repeated,
                    "\x0a\x01\x61\x0a\x01\x62", kOtherBytes},
        OtherSchema{"another number", "quor.protobuf.Config.Value", "key", Renumbered,
                    "\x10\x01\x0a\x01\x61", kOtherBytes},
        OtherSchema{"a field without presence", "quor.protobuf.Tarq.SqlTransaction", "parent_id",
                    WithoutOneof, "\x10\0"s, kOtherBytes},
        OtherSchema{"a map of another number", "quor.protobuf.JQ.AttrList", "attr_list", Renumbered,
                    "\x0a\0\x0a\x01\x08"s, kAccepts}),
    DescriptionOf<OtherSchema>);

// A wrong implementation of one member of a class.
struct Fault {
  const char* description;
  void (*put_into)(MessageClass& generated);
  const char* verdict;
};

void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.description; }

class FaultTest : public ::testing::TestWithParam<Fault> {};

TEST_P(FaultTest, IsNoticed) {
  DynamicTypes dynamic_types;
  TypeUnderTest type = FindType("quor.protobuf.Tarq.StorageData", dynamic_types);
  GetParam().put_into(type.generated);
  EXPECT_EQ(Verdict(type, "\x0a\x01\x61\x12\x01\x62"), GetParam().verdict);
}

void Nothing(Message& /*to*/, const Message& /*from*/) {}
void NothingEither(Message& /*to*/, Message& /*from*/) {}

INSTANTIATE_TEST_SUITE_P(
    Each, FaultTest,
    ::testing::Values(
        Fault{"a copy that is empty",
              [](MessageClass& of) {
                of.copy_construct = [](const Message& from) {
                  return std::unique_ptr<Message>(from.New());
                };
              },
              "Constructed as a copy"},
        Fault{"no copy", [](MessageClass& of) { of.copy_from = Nothing; }, "Copied"},
        Fault{"no merge", [](MessageClass& of) { of.merge_from = Nothing; },
              "Merged into an empty message"},
        Fault{"no move", [](MessageClass& of) { of.move_assign = NothingEither; }, "Moved"},
        Fault{"no swap", [](MessageClass& of) { of.swap = NothingEither; },
              "Swapped onto an arena"},
        Fault{"a copy that merges", [](MessageClass& of) { of.copy_from = of.merge_from; },
              "Overwritten with an empty message"},
        Fault{"a merge that copies", [](MessageClass& of) { of.merge_from = of.copy_from; },
              "Merged into the same"},
        Fault{"a swap that copies",
              [](MessageClass& of) { of.swap = [](Message& a, Message& b) { b.CopyFrom(a); }; },
              "Swapped for an empty message"}),
    DescriptionOf<Fault>);

TEST(RefusedBytes, AreCheckedToo) {
  DynamicTypes dynamic_types;
  TypeUnderTest type = FindType("quor.protobuf.Tarq.StorageData", dynamic_types);
  const std::string cut_off = "\x0a\x01\x61\x12\x02\x62";
  EXPECT_EQ(Verdict(type, cut_off), "agreed");
  type.generated.copy_from = Nothing;
  EXPECT_EQ(Verdict(type, cut_off), "A copy of what was refused");
  type = FindType("quor.protobuf.Tarq.StorageData", dynamic_types);
  type.generated.swap = NothingEither;
  EXPECT_EQ(Verdict(type, cut_off), "Swapped after bytes were refused");
}

TEST(CheckText, ThrowsIfTheRoundTripLosesBytes) {
  Value value;
  value.set_key("a");
  CheckText(value, "\x0a\x01\x61");
  EXPECT_THROW(CheckText(value, "\x0a\x01\x62"), Disagreement);
}

TEST(CheckJson, ThrowsIfTheRoundTripLosesBytes) {
  Value value;
  value.set_key("a");
  CheckJson(value, "\x0a\x01\x61");
  EXPECT_THROW(CheckJson(value, "\x0a\x01\x62"), Disagreement);
}

TEST(CheckSize, ThrowsIfTheSizeIsNotThatOfTheBytes) {
  Value value;
  value.set_key("a");
  CheckSize(value, "\x0a\x01\x61");
  EXPECT_THROW(CheckSize(value, "\x0a\x01"), Disagreement);
}

TEST(TextAndJson, LoseUnknownFields) {
  Value value;
  ASSERT_TRUE(value.ParseFromString("\x0a\x01\x61\x78\x01"));
  EXPECT_EQ(BytesInText(value), "\x0a\x01\x61");
  EXPECT_EQ(BytesInJson(value), "\x0a\x01\x61");
}

TEST(TextAndJson, LoseThePayloadOfANan) {
  Value value;
  ASSERT_TRUE(value.ParseFromString("\x31\x01\x02\x03\x04\x05\x06\xff\xff"));
  EXPECT_EQ(BytesInText(value), "\x31\0\0\0\0\0\0\xf8\x7f"s);
  EXPECT_EQ(BytesInJson(value), "\x31\0\0\0\0\0\0\xf8\x7f"s);
}

TEST(Json, LosesTheSignOfZero) {
  Value value;
  value.set_double_value(-0.0);
  EXPECT_EQ(BytesInText(value), "\x31\0\0\0\0\0\0\0\x80"s);
  EXPECT_EQ(BytesInJson(value), "\x31\0\0\0\0\0\0\0\0"s);
  EXPECT_THROW(CheckJson(value, DeterministicBytes(value)), Disagreement);
}

TEST(Json, LosesADurationOfMixedSigns) {
  RShutdownData data;
  data.mutable_total_time()->set_seconds(1);
  EXPECT_NE(BytesInJson(data), std::nullopt);
  data.mutable_total_time()->set_nanos(-1);
  EXPECT_EQ(BytesInJson(data), std::nullopt);
  EXPECT_THROW(CheckJson(data, DeterministicBytes(data)), Disagreement);
}

TEST(TypeUnderTest, IsAMessageOfTheLibrary) {
  DynamicTypes dynamic_types;
  EXPECT_THROW(FindType("quor.protobuf.JQ.Jobs", dynamic_types), std::runtime_error);
  EXPECT_THROW(FindType("google.protobuf.Duration", dynamic_types), std::runtime_error);
}

}  // namespace
}  // namespace fuzz
