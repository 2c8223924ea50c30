#include "requests/statements.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>

#include "requests/times.h"
#include "sql/fingerprint.h"

namespace qmsg {
namespace {

using quor::protobuf::QuorPHP::StackTrace;
using quor::protobuf::Tarq::SqlQueries;
using quor::protobuf::Tarq::SqlQuery;

constexpr int kSteps = 16;  // of each doubling
constexpr std::size_t kLongestStatement = 4000;
constexpr std::size_t kMostPlaces = 10000;  // of a request, whose statements are counted

std::uint64_t Mix(std::uint64_t hash, std::uint64_t value) {
  return (hash ^ value) * 0x9E3779B97F4A7C15U + (hash >> 29U);
}

// Where a statement was executed: the functions and lines of its stack, without arguments.
std::uint64_t SiteOf(const StackTrace& stack) {
  const std::hash<std::string> hash_text;
  std::uint64_t site = 1;
  for (const auto& frame : stack.frames()) {
    site = Mix(site, hash_text(frame.function_name()));
    site = Mix(site, hash_text(frame.file_name()));
    site = Mix(site, frame.line_no());
  }
  return site;
}

// As php-qmsg numbers drivers, 1 is MySQL.
SqlQuotes QuotesOf(const SqlQuery& query) {
  return query.driver_type() == 1 ? SqlQuotes::kMysql : SqlQuotes::kStandard;
}

}  // namespace

std::size_t TimeHistogram::StepOf(std::uint64_t nanoseconds) {
  return nanoseconds == 0
             ? 0
             : 1 + static_cast<std::size_t>(std::log2(static_cast<double>(nanoseconds)) * kSteps);
}

void TimeHistogram::Add(std::chrono::nanoseconds time) {
  const std::size_t step =
      StepOf(static_cast<std::uint64_t>(std::max<std::int64_t>(time.count(), 0)));
  if (counts_.size() <= step) {
    counts_.resize(step + 1);
  }
  ++counts_[step];
  least_ = std::min(least_, time);
  most_ = std::max(most_, time);
  ++count_;
}

std::chrono::nanoseconds TimeHistogram::Quantile(double share) const {
  const double wanted = std::max(share * static_cast<double>(count_), 1.0);
  double seen = 0;
  for (std::size_t step = 0; step < counts_.size(); ++step) {
    seen += counts_[step];
    if (seen >= wanted) {
      const std::chrono::nanoseconds middle(
          step == 0 ? 0 : std::llround(std::exp2((static_cast<double>(step) - 0.5) / kSteps)));
      return std::clamp(middle, least_, std::max(least_, most_));
    }
  }
  return {};
}

void StatementGroups::Add(const SqlQueries& queries) {
  Repetitions& repetitions = RepetitionsOf(queries.queue_id());
  for (const SqlQuery& query : queries.queries()) {
    std::string fingerprint =
        Fingerprint(std::string_view(query.query()).substr(0, kLongestStatement), QuotesOf(query));
    if (groups_.size() >= kMostGroups && groups_.count(fingerprint) == 0) {
      fingerprint.clear();
    }
    StatementGroup& group = groups_[fingerprint];
    const std::chrono::nanoseconds time = Nanoseconds(query.duration());
    ++group.count;
    group.failed += query.has_error() ? 1 : 0;
    group.rows += query.rows();
    AddTo(group.total, time);
    group.times.Add(time);
    ++count_;
    AddTo(total_, time);
    const std::uint64_t site = SiteOf(query.stack_trace());
    if (group.sites.size() < StatementGroup::kMostSites) {
      group.sites.insert(site);
    }
    const std::uint64_t place = Mix(site, std::hash<std::string>()(fingerprint));
    const bool has_place =
        query.stack_trace().frames_size() > 0 &&
        (repetitions.counts.size() < kMostPlaces || repetitions.counts.count(place) > 0);
    if (has_place) {
      const std::uint64_t repeated = ++repetitions.counts[place];
      if (repeated > group.most_repeated) {
        group.most_repeated = repeated;
        group.repeated_in = queries.queue_id();
      }
    }
    group.fingerprint = std::move(fingerprint);
  }
}

std::vector<const StatementGroup*> StatementGroups::ByTotal() const {
  std::vector<const StatementGroup*> sorted;
  for (const auto& [fingerprint, group] : groups_) {
    sorted.push_back(&group);
  }
  std::sort(sorted.begin(), sorted.end(), [](const auto* one, const auto* other) {
    return one->total != other->total ? one->total > other->total
                                      : one->fingerprint < other->fingerprint;
  });
  return sorted;
}

StatementGroups::Repetitions& StatementGroups::RepetitionsOf(const std::string& queue_id) {
  if (const auto found = by_id_.find(queue_id); found != by_id_.end()) {
    return *found->second;
  }
  if (requests_.size() == kMostRequests) {
    by_id_.erase(requests_.front().queue_id);
    requests_.pop_front();
  }
  requests_.push_back({queue_id, {}});
  by_id_.emplace(queue_id, std::prev(requests_.end()));
  return requests_.back();
}

}  // namespace qmsg
