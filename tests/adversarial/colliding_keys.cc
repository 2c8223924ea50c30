#include "colliding_keys.h"

#include <limits>
#include <stdexcept>

namespace hostile {
namespace {

std::uint64_t SeedOf(const KeyMap& map);

// An explicit instantiation may name private members, and the runtime has no other way to them.
template <auto kTable, auto kSeed>
struct Seed {
  friend std::uint64_t SeedOf(const KeyMap& map) { return (map.*kTable).*kSeed; }
};
template struct Seed<&KeyMap::elements_, &KeyMap::InnerMap::seed_>;

}  // namespace

std::vector<std::int32_t> CollidingKeys(const KeyMap& map, std::size_t buckets, std::size_t count) {
  // The runtime multiplies by the golden ratio and takes the bits from the 32nd on.
  constexpr std::uint64_t kGolden = 0x9e3779b97f4a7c15;
  const std::uint64_t seed = SeedOf(map);
  std::vector<std::int32_t> keys;
  for (std::int32_t key = 1; key < std::numeric_limits<std::int32_t>::max(); ++key) {
    const std::uint64_t hash = (static_cast<std::uint64_t>(key) ^ seed) * kGolden;
    if ((hash >> 32 & (buckets - 1)) == 0) {
      keys.push_back(key);
      if (keys.size() == count) {
        return keys;
      }
    }
  }
  throw std::invalid_argument("A bucket of that many has fewer keys than asked for");
}

}  // namespace hostile
