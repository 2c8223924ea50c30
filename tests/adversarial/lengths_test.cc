// A length that promises more than follows: refused, and by the readers that know where the input
// ends without any memory for it.

#include "lengths.h"

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include "support/heap_use.h"
#include "support/prototypes.h"
#include "support/wire.h"

namespace hostile {
namespace {

using contract::FieldDescriptor;
using contract::Fields;
using contract::Prototypes;
using google::protobuf::Arena;
using google::protobuf::Message;
namespace wire = contract::wire;

// The largest message, a piece of its list, an arena's first block, and a stream's buffer.
constexpr std::size_t kLittle = std::size_t{10} * 1024;

// Calls check(prototype, tag, is text) for each field that has a length, and for an unknown one.
template <class Check>
void ForEachLength(const Check& check) {
  for (const Message* prototype : Prototypes()) {
    SCOPED_TRACE(prototype->GetTypeName());
    for (const FieldDescriptor* field : Fields(*prototype)) {
      const bool is_text = field->type() == FieldDescriptor::TYPE_STRING;
      if (is_text || field->type() == FieldDescriptor::TYPE_MESSAGE) {
        SCOPED_TRACE(field->name());
        check(*prototype, wire::Tag(field->number(), wire::kLengthDelimited), is_text);
      }
    }
    SCOPED_TRACE("unknown");
    check(*prototype, wire::Tag(15, wire::kLengthDelimited), true);
  }
}

void ExpectRefused(const Message& prototype, const Reader& reader, const std::string& bytes,
                   std::size_t least, std::size_t most) {
  const std::size_t heap = heap_use::PeakDuring([&] {
    const std::unique_ptr<Message> message = contract::NewOnHeap(prototype);
    EXPECT_FALSE(reader.read(bytes, *message));
  });
  EXPECT_GE(heap, least);
  EXPECT_LE(heap, most);
  const std::size_t arena = heap_use::PeakDuring([&] {
    Arena owner;
    EXPECT_FALSE(reader.read(bytes, *prototype.New(&owner)));
  });
  EXPECT_GE(arena, least);
  EXPECT_LE(arena, most);
}

TEST(PromisedLength, IsRefusedWithoutMemoryForItOnceTheEndIsKnown) {
  for (const Reader& reader : Readers()) {
    for (const Promise& promise : Promises()) {
      SCOPED_TRACE(reader.name + ": " + promise.name);
      ForEachLength([&](const Message& prototype, const std::string& tag, bool is_text) {
        const bool costs = is_text && promise.believed && !reader.knows_the_end;
        ExpectRefused(prototype, reader, tag + promise.length + "abc", costs ? kBelieved : 0,
                      costs ? kBelieved + kLittle : kLittle);
      });
    }
  }
}

}  // namespace
}  // namespace hostile
