#include "wire.h"

#include <cstddef>
#include <stdexcept>

namespace contract::wire {
namespace {

std::string LittleEndian(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) {
    bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
  }
  return bytes;
}

}  // namespace

std::string Varint(std::uint64_t value) {
  std::string bytes;
  for (; value >= 0x80; value >>= 7) {
    bytes.push_back(static_cast<char>((value & 0x7f) | 0x80));
  }
  bytes.push_back(static_cast<char>(value));
  return bytes;
}

std::string Tag(int number, Type type) {
  return Varint(static_cast<std::uint64_t>(number) << 3 | type);
}

std::string VarintField(int number, std::uint64_t value) {
  return Tag(number, kVarint) + Varint(value);
}

std::string Fixed64Field(int number, std::uint64_t value) {
  return Tag(number, kFixed64) + LittleEndian(value, 8);
}

std::string LengthDelimitedField(int number, const std::string& payload) {
  return Tag(number, kLengthDelimited) + Varint(payload.size()) + payload;
}

std::string GroupField(int number, const std::string& content) {
  return Tag(number, kStartGroup) + content + Tag(number, kEndGroup);
}

std::string Fixed32Field(int number, std::uint32_t value) {
  return Tag(number, kFixed32) + LittleEndian(value, 4);
}

std::string AnyField(int number, Type type) {
  switch (type) {
    case kVarint:
      return VarintField(number, 300);
    case kFixed64:
      return Fixed64Field(number, 0x1122334455667788);
    case kLengthDelimited:
      return LengthDelimitedField(number, "bytes");
    case kStartGroup:
      return GroupField(number, VarintField(1, 7) + LengthDelimitedField(2, "in"));
    case kFixed32:
      return Fixed32Field(number, 0x11223344);
    case kEndGroup:
      break;
  }
  throw std::invalid_argument("An end-group tag is not a field");
}

}  // namespace contract::wire
