// The sizes of messages.
#pragma once

#include <cstdint>
#include <map>

namespace qmsg {

// Counts sizes exactly. Takes memory for each size that occurs: n bytes of input cannot hold more
// than sqrt(2n) sizes, 141,000 in 10 GB.
class Sizes {
 public:
  void Add(std::uint64_t size) {
    ++counts_[size];
    ++count_;
    sum_ += size;
  }

  std::uint64_t count() const { return count_; }
  std::uint64_t sum() const { return sum_; }

  // The smallest size that at least `share` of the messages, 0 to 1, do not exceed: 0 is the
  // minimum, 0.5 the median, 1 the maximum. There must be a message.
  std::uint64_t Quantile(double share) const;

 private:
  std::map<std::uint64_t, std::uint64_t> counts_;
  std::uint64_t count_ = 0;
  std::uint64_t sum_ = 0;
};

}  // namespace qmsg
