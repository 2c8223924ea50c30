// Durations of messages as numbers that can be added up.
#pragma once

#include <google/protobuf/duration.pb.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>

namespace qmsg {

// A duration that does not fit becomes the largest or smallest.
inline std::chrono::nanoseconds Nanoseconds(const google::protobuf::Duration& duration) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / 1000000000 - 3;
  return std::chrono::seconds(std::clamp<std::int64_t>(duration.seconds(), -kMost, kMost)) +
         std::chrono::nanoseconds(duration.nanos());
}

// Does not overflow: a hostile capture may have any durations.
inline void AddTo(std::chrono::nanoseconds& sum, std::chrono::nanoseconds time) {
  std::int64_t result = 0;
  if (!__builtin_add_overflow(sum.count(), time.count(), &result)) {
    sum = std::chrono::nanoseconds(result);
  } else {
    sum = time.count() < 0 ? std::chrono::nanoseconds::min() : std::chrono::nanoseconds::max();
  }
}

}  // namespace qmsg
