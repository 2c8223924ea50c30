#include "stats/sizes.h"

#include <cmath>

namespace qmsg {

std::uint64_t Sizes::Quantile(double share) const {
  const double wanted = std::ceil(share * static_cast<double>(count_));
  std::uint64_t seen = 0;
  for (const auto& [size, count] : counts_) {
    seen += count;
    if (static_cast<double>(seen) >= wanted) {
      return size;
    }
  }
  return counts_.rbegin()->first;
}

}  // namespace qmsg
