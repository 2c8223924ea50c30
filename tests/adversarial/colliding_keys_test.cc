// Even with keys made for its secret seed, a map never searches a long list: a bucket of more than
// eight entries becomes a tree. Memory shows it, since each place in a tree is allocated.

#include "colliding_keys.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "support/heap_use.h"
#include "support/wire.h"

namespace hostile {
namespace {

namespace JQ = quor::protobuf::JQ;
namespace wire = contract::wire;

constexpr std::size_t kCount = 1000;
// A thousand entries make a table of 2048.
constexpr std::size_t kBuckets = 2048;

std::string Entries(const std::vector<std::int32_t>& keys) {
  std::string bytes;
  for (const std::int32_t key : keys) {
    // With a value, or the runtime would read it by way of an entry of its own.
    bytes += wire::LengthDelimitedField(1, wire::VarintField(1, static_cast<std::uint64_t>(key)) +
                                               wire::LengthDelimitedField(2, ""));
  }
  return bytes;
}

// How often the list allocates for the entries.
std::size_t AllocationsFor(JQ::AttrList& list, const std::string& bytes) {
  const std::size_t before = heap_use::Allocations();
  EXPECT_TRUE(list.MergeFromString(bytes));
  return heap_use::Allocations() - before;
}

TEST(Map, TurnsAFullBucketIntoATree) {
  JQ::AttrList list;
  (*list.mutable_attr_list())[0];
  const std::vector<std::int32_t> keys = CollidingKeys(list.attr_list(), kBuckets, kCount);
  // For each entry its node and its place in the tree, which is made anew with each table.
  EXPECT_GE(AllocationsFor(list, Entries(keys)), 2 * kCount);
  EXPECT_EQ(list.attr_list_size(), kCount + 1);
  for (const std::int32_t key : keys) {
    EXPECT_TRUE(list.attr_list().contains(key));
  }
}

// Seeds that have much in common share full buckets: of some maps, most do not.
TEST(Map, NeedsNoTreeForTheSameKeysUnderMostOtherSeeds) {
#if !defined(__x86_64__) && !defined(__aarch64__)
  GTEST_SKIP() << "seeds do not come from a clock";
#endif
  JQ::AttrList list;
  (*list.mutable_attr_list())[0];
  const std::string entries = Entries(CollidingKeys(list.attr_list(), kBuckets, kCount));
  std::array<JQ::AttrList, 21> others;
  std::vector<std::size_t> allocations;
  for (JQ::AttrList& other : others) {
    (*other.mutable_attr_list())[0];
    allocations.push_back(AllocationsFor(other, entries));
    EXPECT_EQ(other.attr_list_size(), kCount + 1);
  }
  const auto median = allocations.begin() + others.size() / 2;
  std::nth_element(allocations.begin(), median, allocations.end());
  // A node for each entry, and a table for each doubling; a bucket may fill up by chance.
  EXPECT_LE(*median, kCount + kCount / 5);
}

}  // namespace
}  // namespace hostile
