// A writer of the wire format that shares no code with the code under test, so that the expected
// bytes owe nothing to it.
#pragma once

#include <cstdint>
#include <string>

namespace contract::wire {

enum Type : std::uint8_t {
  kVarint = 0,
  kFixed64 = 1,
  kLengthDelimited = 2,
  kStartGroup = 3,
  kEndGroup = 4,
  kFixed32 = 5,
};

std::string Varint(std::uint64_t value);
std::string Tag(int number, Type type);

std::string VarintField(int number, std::uint64_t value);
std::string Fixed64Field(int number, std::uint64_t value);
std::string LengthDelimitedField(int number, const std::string& payload);
std::string GroupField(int number, const std::string& content);
std::string Fixed32Field(int number, std::uint32_t value);

// A well-formed field of the given type, with some content.
std::string AnyField(int number, Type type);

}  // namespace contract::wire
