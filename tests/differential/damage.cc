#include <google/protobuf/descriptor.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "inputs.h"
#include "support/expected_bytes.h"
#include "support/fill.h"
#include "support/mutate.h"
#include "support/wire.h"

namespace differential {
namespace {

using namespace std::string_literals;
namespace wire = contract::wire;

constexpr int kUnused = 1000;
constexpr int kLastNumber = (1 << 29) - 1;
// The runtime's default limit for messages and groups inside each other.
constexpr int kDeepest = 100;
constexpr wire::Type kTypesOfFields[] = {wire::kVarint, wire::kFixed64, wire::kLengthDelimited,
                                         wire::kStartGroup, wire::kFixed32};

using VisitBytes = std::function<void(const std::string& bytes)>;

std::string Groups(int depth) {
  std::string bytes;
  for (int i = 0; i < depth; ++i) {
    bytes = wire::GroupField(kUnused, bytes);
  }
  return bytes;
}

// The same number in `size` bytes.
std::string LongVarint(std::uint64_t value, std::size_t size) {
  std::string bytes = wire::Varint(value);
  while (bytes.size() < size) {
    bytes.back() = static_cast<char>(bytes.back() | '\x80');
    bytes.push_back('\0');
  }
  return bytes;
}

void ForEachCut(const std::string& bytes, const VisitBytes& visit) {
  for (std::size_t size = 0; size < bytes.size(); size += 1 + bytes.size() / 200) {
    visit(bytes.substr(0, size));
  }
}

void ForEachMutation(const std::string& bytes, fuzz::Random& random, const VisitBytes& visit) {
  const auto flip_a_bit = [&random](std::string changed, std::size_t max_size) {
    changed.resize(std::min(changed.size(), max_size));
    if (!changed.empty()) {
      char& byte = changed[random() % changed.size()];
      byte = static_cast<char>(byte ^ (1 << random() % 8));
    }
    return changed;
  };
  for (int i = 0; i < 25; ++i) {
    visit(fuzz::Mutate(bytes, bytes.size() + 100, random, flip_a_bit));
  }
}

// As whole fields, and as lengths and numbers that do not fit.
void ForEachOddField(int number, const VisitBytes& visit) {
  for (const wire::Type type : kTypesOfFields) {
    visit(wire::AnyField(number, type));
  }
  const std::string length = wire::Tag(number, wire::kLengthDelimited);
  for (const std::uint64_t size : {1ULL << 14, (1ULL << 31) - 17, (1ULL << 31) - 1, 1ULL << 31,
                                   (1ULL << 32) - 1, 1ULL << 40, ~0ULL}) {
    visit(length + wire::Varint(size) + "text");
  }
  for (const std::size_t size : {2U, 5U, 6U, 10U, 11U}) {
    visit(length + LongVarint(4, size) + "text");
    visit(wire::Tag(number, wire::kVarint) + LongVarint(4, size));
    visit(LongVarint(static_cast<std::uint64_t>(number) << 3 | wire::kVarint, size) + '\x04');
    visit(LongVarint(static_cast<std::uint64_t>(number) << 3 | wire::kLengthDelimited, size) +
          "\x04text");
  }
  visit(wire::Tag(number, wire::kVarint) + wire::Varint(~0ULL));
  visit(wire::Tag(number, wire::kEndGroup));
  visit(wire::Varint(static_cast<std::uint64_t>(number) << 3 | 6) + '\x01');
  visit(wire::Varint(static_cast<std::uint64_t>(number) << 3 | 7) + '\x01');
}

// Contents that are unusual in any message.
std::vector<std::string> OddContents() {
  return {"",
          "\0"s,
          "\0\0\0\0"s,
          Groups(kDeepest - 2),
          Groups(kDeepest - 1),
          Groups(kDeepest),
          Groups(kDeepest + 1),
          wire::Tag(kUnused, wire::kStartGroup),
          wire::Tag(kUnused, wire::kEndGroup),
          wire::Tag(kUnused, wire::kStartGroup) + wire::Tag(kUnused + 1, wire::kEndGroup),
          wire::GroupField(kUnused, wire::LengthDelimitedField(1, "\xff")),
          wire::LengthDelimitedField(kUnused, std::string(300, '\xff')),
          wire::VarintField(kUnused, 1) + wire::AnyField(kLastNumber, wire::kFixed32),
          wire::AnyField(0, wire::kVarint)};
}

void ForEachOddMessage(const Message& prototype, const VisitBytes& visit) {
  for (const std::string& content : OddContents()) {
    visit(content);
    for (const FieldDescriptor* field : contract::Fields(prototype)) {
      if (field->type() == FieldDescriptor::TYPE_MESSAGE) {
        const std::string bytes = wire::LengthDelimitedField(field->number(), content);
        visit(bytes);
        visit(bytes + bytes);
        visit(bytes + wire::VarintField(kUnused, 1));
      }
    }
  }
}

}  // namespace

void ForEachDamage(const Visitor& visit) {
  fuzz::Random random(1);
  for (const Message* prototype : contract::Prototypes()) {
    const VisitBytes visit_bytes = [&](const std::string& bytes) {
      visit({prototype, bytes, Detail::kFull});
    };
    for (int filling = 0; filling < contract::kFillings; ++filling) {
      const std::string bytes = contract::ExpectedBytes(*contract::Filled(*prototype, filling));
      visit_bytes(bytes);
      ForEachMutation(bytes, random, visit_bytes);
      if (filling == 0) {
        ForEachCut(bytes, visit_bytes);
      }
    }
    for (const FieldDescriptor* field : contract::Fields(*prototype)) {
      ForEachOddField(field->number(), visit_bytes);
    }
    ForEachOddField(kUnused, visit_bytes);
    ForEachOddField(kLastNumber, visit_bytes);
    ForEachOddMessage(*prototype, visit_bytes);
  }
}

}  // namespace differential
