#include "inputs.h"

#include <algorithm>
#include <cstddef>

#include "differential/inputs.h"
#include "support/expected_bytes.h"
#include "support/fill.h"
#include "support/mutate.h"

namespace tools_test {
namespace {

// For each filling of each message type.
constexpr int kMutations = QMSG_MUTATIONS;
constexpr std::size_t kMostAdded = 200;

// Changes a few bytes, or cuts or lengthens them.
std::string Damage(std::string bytes, std::size_t max_size, fuzz::Random& random) {
  bytes.resize(std::min(bytes.size(), max_size));
  for (auto left = 1 + random() % 3; left > 0 && !bytes.empty(); --left) {
    const std::size_t place = random() % bytes.size();
    switch (random() % 4) {
      case 0:
        bytes[place] = static_cast<char>(random());
        break;
      case 1:
        bytes[place] = static_cast<char>(bytes[place] ^ (1 << random() % 8));
        break;
      case 2:
        bytes.erase(place, 1 + random() % 4);
        break;
      default:
        if (bytes.size() < max_size) {
          bytes.insert(place, 1, static_cast<char>(random()));
        }
    }
  }
  return bytes;
}

void ForEachMutation(const Visit& visit) {
  fuzz::Random random(20);
  contract::ForEachFilling([&](const Message& prototype, int filling) {
    const std::string whole = contract::ExpectedBytes(*contract::Filled(prototype, filling));
    std::string bytes = whole;
    for (int i = 0; i < kMutations; ++i) {
      // Now and then afresh, since damage adds up.
      bytes = fuzz::Mutate(i % 4 == 0 ? whole : bytes, whole.size() + kMostAdded, random,
                           [&random](const std::string& part, std::size_t max_size) {
                             return Damage(part, max_size, random);
                           });
      visit(prototype, bytes);
    }
  });
}

}  // namespace

void ForEachInput(const Visit& visit) {
  ForEachMutation(visit);
  differential::ForEachDamage(
      [&visit](const differential::Input& input) { visit(*input.prototype, input.bytes); });
}

}  // namespace tools_test
