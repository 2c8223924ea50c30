#include "mutate.h"

#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <set>

namespace fuzz {
namespace {

using namespace std::string_literals;

constexpr std::size_t kMuch = 4096;

std::string AppendField(const std::string& bytes, std::size_t max_size) {
  const std::string longer = bytes + "\x10\x05";
  return longer.size() <= max_size ? longer : bytes.substr(0, max_size);
}

std::set<std::string> Mutations(const std::string& bytes, std::size_t max_size, int tries) {
  Random random;
  std::set<std::string> mutations;
  for (int i = 0; i < tries; ++i) {
    mutations.insert(Mutate(bytes, max_size, random, AppendField));
  }
  return mutations;
}

TEST(Mutation, OfAFieldInAFieldLeavesOutRepeatsOrChangesOneOfTheTwo) {
  const std::set<std::string> expected = {
      "\x0a\x02\x08\x01\x10\x05"s,          // changed: all of it
      "\x0a\x04\x08\x01\x10\x05"s,          // what is in the outer field
      ""s,                                  // left out: the outer field
      "\x0a\0"s,                            // the inner one
      "\x0a\x02\x08\x01\x0a\x02\x08\x01"s,  // repeated: the outer field
      "\x0a\x04\x08\x01\x08\x01"s,          // the inner one
  };
  EXPECT_EQ(Mutations("\x0a\x02\x08\x01", kMuch, 1000), expected);
}

TEST(Mutation, MakesLengthsRightAtEachDepth) {
  // Of 126 bytes and more the length takes another byte, in all fields around it too.
  std::string bytes(126, '\x01');
  for (int i = 0; i < 126; i += 2) {
    bytes[static_cast<std::size_t>(i)] = '\x08';
  }
  bytes = "\x0a\x7e" + bytes;
  bytes = "\x12\x80\x01" + bytes;
  bytes = "\x1a\x83\x01" + bytes;
  for (const std::string& mutation : Mutations(bytes, kMuch, 2000)) {
    google::protobuf::UnknownFieldSet level;
    EXPECT_TRUE(level.ParseFromString(mutation));
    while (level.field_count() > 0 &&
           level.field(0).type() == google::protobuf::UnknownField::TYPE_LENGTH_DELIMITED) {
      const std::string inner = level.field(0).length_delimited();
      ASSERT_TRUE(level.ParseFromString(inner));
    }
  }
}

TEST(Mutation, KeepsWithinItsSize) {
  const std::string bytes = "\x0a\x04\x0a\x02\x08\x01\x08\x01";
  for (std::size_t max_size = bytes.size(); max_size < bytes.size() + 8; ++max_size) {
    for (const std::string& mutation : Mutations(bytes, max_size, 1000)) {
      EXPECT_LE(mutation.size(), max_size);
    }
  }
}

TEST(Mutation, AsksForNoMoreThanItsSizeWhenTheOtherFieldsTakeMore) {
  const std::string bytes = "\x0a\x08\x0a\x02\x08\x01\x10\x01\x10\x02";
  for (std::size_t max_size = 0; max_size < bytes.size() + 8; ++max_size) {
    Random random;
    for (int i = 0; i < 1000; ++i) {
      Mutate(bytes, max_size, random, [&](const std::string& changed, std::size_t limit) {
        EXPECT_LE(limit, max_size);
        return changed;
      });
    }
  }
}

TEST(Mutation, OfBytesThatAreNotAMessageIsLeftToTheOther) {
  for (const std::string& bytes :
       {""s, "\0"s, "\x08"s, "\x0a\x02\x01"s, "\x0f"s, "\x0b\x08\x01"s}) {
    EXPECT_EQ(Mutations(bytes, kMuch, 100), std::set<std::string>{AppendField(bytes, kMuch)});
  }
}

TEST(Mutation, ReachesTheFieldsBeforeATruncatedOne) {
  EXPECT_EQ(Mutations("\x08\x01\x0a\x02\x01", kMuch, 1000).count("\x0a\x02\x01"), 1U);
}

}  // namespace
}  // namespace fuzz
