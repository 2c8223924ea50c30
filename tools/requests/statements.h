// The statements of a capture by their fingerprints.
#pragma once

#include <qmsg/tarq.pb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qmsg {

// How often which times occurred, to some 3 %: 16 steps for each doubling.
class TimeHistogram {
 public:
  void Add(std::chrono::nanoseconds time);
  // The time that at least `share` of them, 0 to 1, do not exceed.
  std::chrono::nanoseconds Quantile(double share) const;

 private:
  static std::size_t StepOf(std::uint64_t nanoseconds);

  std::vector<std::uint32_t> counts_;
  std::uint64_t count_ = 0;
  std::chrono::nanoseconds least_ = std::chrono::nanoseconds::max();
  std::chrono::nanoseconds most_{};
};

struct StatementGroup {
  static constexpr std::size_t kMostSites = 1000;

  std::string fingerprint;
  std::uint64_t count = 0;
  std::uint64_t failed = 0;
  std::int64_t rows = 0;
  std::chrono::nanoseconds total{};
  TimeHistogram times;
  std::unordered_set<std::uint64_t> sites;  // hashes of call stacks, at most kMostSites
  // The most executions from one call stack in one request, and that request.
  std::uint64_t most_repeated = 0;
  std::string repeated_in;
};

// Groups the statements of SqlQueries. Memory is bounded: statements beyond kMostGroups are one
// group without a fingerprint.
class StatementGroups {
 public:
  static constexpr std::size_t kMostGroups = 50000;
  static constexpr std::size_t kMostRequests = 1000;  // whose repetitions are counted at a time

  void Add(const quor::protobuf::Tarq::SqlQueries& queries);

  // The groups with the largest total first.
  std::vector<const StatementGroup*> ByTotal() const;

  std::uint64_t count() const { return count_; }
  std::chrono::nanoseconds total() const { return total_; }

 private:
  struct Repetitions {
    std::string queue_id;
    std::unordered_map<std::uint64_t, std::uint64_t> counts;  // by fingerprint and call stack
  };

  Repetitions& RepetitionsOf(const std::string& queue_id);

  std::unordered_map<std::string, StatementGroup> groups_;
  std::list<Repetitions> requests_;  // the newest last
  std::unordered_map<std::string, std::list<Repetitions>::iterator> by_id_;
  std::uint64_t count_ = 0;
  std::chrono::nanoseconds total_{};
};

}  // namespace qmsg
