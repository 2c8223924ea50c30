#include <google/protobuf/timestamp.pb.h>
#include <gtest/gtest.h>
#include <qmsg/quorphp.pb.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "support/hex_bytes.h"

namespace messages::quorphp {
namespace {

using google::protobuf::Timestamp;
using quor::protobuf::QuorPHP::QVal;
using wire::ExpectBytes;
using wire::Hex;
using wire::Parse;

TEST(QVal, WritesNothingByDefaultAndForUndefWithoutAMember) {
  QVal value;
  EXPECT_EQ(Hex(value), "");
  value.set_value_type(QVal::NUL);
  value.set_value_type(QVal::UNDEF);
  EXPECT_EQ(Hex(value), "");
}

TEST(QVal, KeepsABoolTypeWithoutAMember) {
  QVal value;
  value.set_value_type(QVal::BOOL);
  EXPECT_EQ(Hex(value), "08 02");
  const auto read = Parse<QVal>("08 02");
  EXPECT_EQ(read.value_type(), QVal::BOOL);
  EXPECT_EQ(read.value_case(), QVal::VALUE_NOT_SET);
  EXPECT_FALSE(read.bool_value());
}

TEST(QVal, WritesAMemberThatIsSetToItsDefault) {
  struct Member {
    void (*set)(QVal*);
    QVal::ValueCase set_case;
    const char* bytes;
  };
  const std::vector<Member> members = {
      {[](QVal* v) { v->set_bool_value(false); }, QVal::kBoolValue, "10 00"},
      {[](QVal* v) { v->set_string_value(""); }, QVal::kStringValue, "1A 00"},
      {[](QVal* v) { v->set_int_value(0); }, QVal::kIntValue, "20 00"},
      {[](QVal* v) { v->set_double_value(0.0); }, QVal::kDoubleValue, "29 00 00 00 00 00 00 00 00"},
      {[](QVal* v) { v->set_json_value(""); }, QVal::kJsonValue, "32 00"},
      {[](QVal* v) { v->mutable_tm_value(); }, QVal::kTmValue, "3A 00"},
  };
  for (const auto& member : members) {
    QVal value;
    member.set(&value);
    EXPECT_EQ(value.value_case(), member.set_case);
    EXPECT_EQ(value.value_type(), QVal::UNDEF);
    EXPECT_EQ(Hex(value), member.bytes);
    EXPECT_EQ(Parse<QVal>(member.bytes).value_case(), member.set_case) << member.bytes;
    value.clear_value();
    EXPECT_EQ(value.value_case(), QVal::VALUE_NOT_SET);
    EXPECT_EQ(Hex(value), "");
  }
}

TEST(QVal, KeepsTheSignOfANegativeZero) {
  QVal value;
  value.set_double_value(-0.0);
  EXPECT_EQ(Hex(value), "29 00 00 00 00 00 00 00 80");
  EXPECT_TRUE(std::signbit(Parse<QVal>("29 00 00 00 00 00 00 00 80").double_value()));
}

TEST(QVal, KeepsTheBitsOfANan) {
  const uint64_t bits = 0x7FF8'0000'DEAD'BEEF;
  double nan = 0;
  std::memcpy(&nan, &bits, sizeof nan);
  QVal value;
  value.set_double_value(nan);
  EXPECT_EQ(Hex(value), "29 EF BE AD DE 00 00 F8 7F");
  const double read = Parse<QVal>("29 EF BE AD DE 00 00 F8 7F").double_value();
  uint64_t read_bits = 0;
  std::memcpy(&read_bits, &read, sizeof read);
  EXPECT_EQ(read_bits, bits);
}

TEST(QVal, KeepsOnlyTheMemberThatWasSetLast) {
  QVal value;
  value.set_string_value("a");
  value.set_int_value(5);
  EXPECT_EQ(value.value_case(), QVal::kIntValue);
  EXPECT_FALSE(value.has_string_value());
  EXPECT_EQ(value.string_value(), "");
  EXPECT_EQ(Hex(value), "20 05");
}

TEST(QVal, ReadsOnlyTheLastMemberOnTheWire) {
  const auto value = Parse<QVal>("1A 01 61 20 05");
  EXPECT_EQ(value.value_case(), QVal::kIntValue);
  EXPECT_EQ(value.string_value(), "");
  EXPECT_EQ(value.int_value(), 5);
  EXPECT_EQ(Hex(value), "20 05");
  EXPECT_EQ(Hex(Parse<QVal>("20 05 3A 02 08 01 1A 01 61")), "1A 01 61");
}

TEST(QVal, MergesATimestampThatArrivesTwice) {
  EXPECT_EQ(Hex(Parse<QVal>("3A 02 08 05 3A 02 10 07")), "3A 04 08 05 10 07");
}

TEST(QVal, RestartsATimestampAfterAnotherMember) {
  EXPECT_EQ(Hex(Parse<QVal>("3A 02 08 05 10 01 3A 02 10 07")), "3A 02 10 07");
}

TEST(QVal, ReadsTheLower32BitsOfAType) {
  EXPECT_EQ(Hex(Parse<QVal>("08 89 80 80 80 10")), "08 09");
}

TEST(QVal, DoesNotRelateTypeAndMember) {
  QVal value;
  value.set_string_value("a");
  value.mutable_json_value()->append("{}");
  EXPECT_EQ(value.value_type(), QVal::UNDEF);
  value.set_value_type(QVal::TIMESTAMP);
  EXPECT_EQ(value.value_case(), QVal::kJsonValue);
  ExpectBytes(value, "08 07 32 02 7B 7D");
  value.clear_value_type();
  EXPECT_EQ(Hex(value), "32 02 7B 7D");
}

TEST(QVal, ClearsAMemberOnlyIfItIsTheOneThatIsSet) {
  QVal value;
  value.set_int_value(5);
  value.clear_bool_value();
  value.clear_string_value();
  value.clear_double_value();
  value.clear_json_value();
  value.clear_tm_value();
  EXPECT_EQ(Hex(value), "20 05");
  EXPECT_EQ(value.release_string_value(), nullptr);
  EXPECT_EQ(value.release_tm_value(), nullptr);
  EXPECT_EQ(Hex(value), "20 05");
}

TEST(QVal, ChangesWhenAnotherIsMergedIntoIt) {
  struct Case {
    const char* what;
    const char* target;
    const char* source;
    const char* merged;
  };
  const std::vector<Case> cases = {
      {"NUL into a string: the string stays", "08 03 1A 01 61", "08 01", "08 01 1A 01 61"},
      {"no type: the type stays", "08 03", "1A 01 61", "08 03 1A 01 61"},
      {"nothing: all stays", "08 04 20 05", "", "08 04 20 05"},
      {"false", "1A 01 61", "10 00", "10 00"},
      {"an empty string", "20 05", "1A 00", "1A 00"},
      {"an empty string into a string", "1A 01 61", "1A 00", "1A 00"},
      {"zero", "1A 01 61", "20 00", "20 00"},
      {"zero into a number", "20 05", "20 00", "20 00"},
      {"0.0", "20 05", "29 00 00 00 00 00 00 00 00", "29 00 00 00 00 00 00 00 00"},
      {"an empty JSON text", "20 05", "32 00", "32 00"},
      {"a time into none", "1A 01 61", "3A 02 08 01", "3A 02 08 01"},
      {"a time into a time", "3A 02 08 05", "3A 02 10 07", "3A 04 08 05 10 07"},
      {"an empty time into a time", "3A 02 08 05", "3A 00", "3A 02 08 05"},
  };
  for (const auto& c : cases) {
    auto target = Parse<QVal>(c.target);
    target.MergeFrom(Parse<QVal>(c.source));
    EXPECT_EQ(Hex(target), c.merged) << c.what;
  }
}

TEST(QVal, LeavesAReplacedTimestampToTheArena) {
  google::protobuf::Arena arena;
  auto* const value = google::protobuf::Arena::CreateMessage<QVal>(&arena);
  Timestamp* const replaced = value->mutable_tm_value();
  replaced->set_seconds(5);
  value->set_bool_value(true);
  EXPECT_EQ(replaced->seconds(), 5);
  EXPECT_FALSE(value->has_tm_value());
}

}  // namespace
}  // namespace messages::quorphp
