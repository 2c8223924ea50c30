#ifndef QMSG_EXAMPLES_PRODUCER_CONSUMER_REPORT_H_
#define QMSG_EXAMPLES_PRODUCER_CONSUMER_REPORT_H_

#include <google/protobuf/any.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>

// Sums of the records with one `queue_id`. Seconds are doubles: no durations that a sender can
// choose may overflow a sum.
struct Request {
  std::int64_t messages = 0;
  std::int64_t statements = 0;
  std::int64_t failed_statements = 0;
  std::int64_t rows = 0;
  double sql_seconds = 0;
  std::uint64_t calls = 0;
  std::int64_t errors = 0;
  bool begun = false;
  std::optional<quor::protobuf::QuorPHP::RShutdownData> end;
};

// Sums the records of many requests. Throws nothing for any bytes.
class Report {
 public:
  explicit Report(std::size_t max_requests) : max_requests_(max_requests) {}

  // Adds a message, given as the bytes of a google.protobuf.Any. Returns why it was left out, or
  // empty text. A message of a type without a column is counted as another type.
  std::string Add(const std::string& bytes);

  void Print(std::ostream& out) const;

 private:
  template <class M>
  std::string AddAs(const google::protobuf::Any& any);

  std::size_t max_requests_;
  std::map<std::string, Request> requests_;  // by `queue_id`
  std::int64_t other_types_ = 0;
};

#endif
