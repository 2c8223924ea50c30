#include "wire.h"

#include <gtest/gtest.h>

namespace contract {
namespace {

using namespace std::string_literals;

TEST(WireRules, WriteSevenBitsAByteLowestFirst) {
  EXPECT_EQ(wire::Varint(0), "\x00"s);
  EXPECT_EQ(wire::Varint(127), "\x7f"s);
  EXPECT_EQ(wire::Varint(128), "\x80\x01"s);
  EXPECT_EQ(wire::Varint(300), "\xac\x02"s);
  EXPECT_EQ(wire::Varint(~std::uint64_t{0}), "\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"s);
}

TEST(WireRules, PutNumberAndTypeInTheTag) {
  EXPECT_EQ(wire::Tag(1, wire::kLengthDelimited), "\x0a"s);
  EXPECT_EQ(wire::Tag(15, wire::kVarint), "\x78"s);
  EXPECT_EQ(wire::Tag(16, wire::kVarint), "\x80\x01"s);
}

TEST(WireRules, WriteEachTypeOfField) {
  EXPECT_EQ(wire::VarintField(2, 1), "\x10\x01"s);
  EXPECT_EQ(wire::Fixed64Field(2, 1), "\x11\x01\x00\x00\x00\x00\x00\x00\x00"s);
  EXPECT_EQ(wire::LengthDelimitedField(2, "ab"), "\x12\x02\x61\x62"s);
  EXPECT_EQ(wire::GroupField(2, wire::VarintField(1, 5)), "\x13\x08\x05\x14"s);
  EXPECT_EQ(wire::Fixed32Field(2, 1), "\x15\x01\x00\x00\x00"s);
}

}  // namespace
}  // namespace contract
