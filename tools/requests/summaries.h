// One line of figures for each request of a capture.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace qmsg {

struct RequestSummary {
  struct Begin {
    std::int64_t seconds = 0;  // since 1970, UTC
    std::int32_t nanos = 0;
    std::string method;
    std::string target;
  };
  struct End {
    std::int32_t status = 0;
    std::chrono::nanoseconds total{};
    std::uint64_t peak_memory = 0;  // as recorded
  };

  std::string queue_id;
  std::optional<Begin> begin;  // absent: the capture does not have its RInitData
  std::optional<End> end;      // absent: it did not end, or its RShutdownData is not there
  std::uint64_t statements = 0;
  std::uint64_t failed = 0;  // statements with an error
  std::chrono::nanoseconds sql{};
  std::uint64_t errors = 0;  // messages Error
};

// Adds up the messages of requests. The number of requests that are kept is bounded: beyond it, the
// oldest is told.
class Summaries {
 public:
  using Tell = std::function<void(const RequestSummary& request)>;

  static constexpr std::size_t kMost = 200000;  // requests that are kept

  explicit Summaries(Tell tell) : tell_(std::move(tell)) {}

  // Whether messages of this type add to a summary.
  static bool Counts(const google::protobuf::Descriptor* type);

  void Add(const google::protobuf::Message& message);
  // Tells the requests that are left, in the order of their first messages.
  void Finish();

 private:
  RequestSummary& Find(const std::string& queue_id);

  Tell tell_;
  std::list<RequestSummary> requests_;  // in the order of their first messages
  std::unordered_map<std::string, std::list<RequestSummary>::iterator> by_id_;
};

}  // namespace qmsg
