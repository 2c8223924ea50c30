#include "mutate.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>

#include <cstdint>
#include <vector>

#include "wire.h"

namespace fuzz {
namespace {

using contract::wire::Varint;
using google::protobuf::internal::WireFormatLite;
using google::protobuf::io::CodedInputStream;

// Positions of a field. `length` and `payload` are its end, unless it is length-delimited.
struct Field {
  std::size_t begin;
  std::size_t length;
  std::size_t payload;
  std::size_t end;
};

// The fields up to the first that is not well formed.
std::vector<Field> Fields(const std::string& bytes) {
  CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                         static_cast<int>(bytes.size()));
  const auto position = [&input] { return static_cast<std::size_t>(input.CurrentPosition()); };
  std::vector<Field> fields;
  for (;;) {
    Field field{};
    field.begin = position();
    const std::uint32_t tag = input.ReadTag();
    if (WireFormatLite::GetTagWireType(tag) == WireFormatLite::WIRETYPE_LENGTH_DELIMITED) {
      std::uint32_t size = 0;
      field.length = position();
      if (!input.ReadVarint32(&size) || size > bytes.size() - position()) {
        return fields;
      }
      field.payload = position();
      field.end = field.payload + size;
      input.Skip(static_cast<int>(size));
    } else if (tag != 0 && WireFormatLite::SkipField(&input, tag)) {
      field.end = field.payload = field.length = position();
    } else {
      return fields;
    }
    fields.push_back(field);
  }
}

bool OneIn(Random& random, unsigned n) { return random() % n == 0; }

// One of the fields has changed. May have more than `max_size` bytes.
std::string MutateField(const std::string& bytes, std::size_t max_size, Random& random,
                        const ChangeBytes& change) {
  const std::vector<Field> fields = Fields(bytes);
  const Field& field = fields[random() % fields.size()];
  const std::string before = bytes.substr(0, field.begin);
  const std::string whole = bytes.substr(field.begin, field.end - field.begin);
  const std::string after = bytes.substr(field.end);
  if (OneIn(random, 6)) {
    return before + after;
  }
  if (OneIn(random, 6)) {
    const std::size_t place = fields[random() % fields.size()].begin;
    return bytes.substr(0, place) + whole + bytes.substr(place);
  }
  const std::size_t others = before.size() + after.size();
  if (others >= max_size) {
    return before + after;
  }
  if (field.payload == field.end) {
    return before + change(whole, max_size - others) + after;
  }
  // A length may take four bytes more than it did.
  const std::string tag = bytes.substr(field.begin, field.length - field.begin);
  const std::size_t around = others + tag.size() + 5;
  if (around >= max_size) {
    return before + after;
  }
  const std::string payload = Mutate(bytes.substr(field.payload, field.end - field.payload),
                                     max_size - around, random, change);
  return before + tag + Varint(payload.size()) + payload + after;
}

}  // namespace

std::string Mutate(const std::string& bytes, std::size_t max_size, Random& random,
                   const ChangeBytes& change) {
  if (!OneIn(random, 3) && !Fields(bytes).empty()) {
    std::string mutated = MutateField(bytes, max_size, random, change);
    if (mutated.size() <= max_size) {
      return mutated;
    }
  }
  return change(bytes, max_size);
}

}  // namespace fuzz
