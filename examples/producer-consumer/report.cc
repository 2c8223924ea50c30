#include "report.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/stubs/strutil.h>

#include <iomanip>

namespace {

using google::protobuf::Any;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
namespace Tarq = quor::protobuf::Tarq;

// The schema is at most seven levels deep; a newer one may have a few more.
constexpr int kMaxDepth = 12;

bool ParseShallow(const std::string& bytes, google::protobuf::Message& message) {
  google::protobuf::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                               static_cast<int>(bytes.size()));
  input.SetRecursionLimit(kMaxDepth);
  return message.ParseFromCodedStream(&input) && input.ConsumedEntireMessage();
}

double Seconds(const google::protobuf::Duration& duration) {
  return static_cast<double>(duration.seconds()) + 1e-9 * duration.nanos();
}

void Sum(const RInitData& /*begin*/, Request& request) { request.begun = true; }

void Sum(const Tarq::Functions& profile, Request& request) {
  for (const auto& function : profile.functions()) {
    request.calls += function.times_called();
  }
}

void Sum(const Tarq::SqlQueries& queries, Request& request) {
  for (const auto& query : queries.queries()) {
    ++request.statements;
    request.failed_statements += query.has_error() ? 1 : 0;
    request.rows += query.rows();
    request.sql_seconds += Seconds(query.duration());
  }
}

void Sum(const Tarq::Error& /*error*/, Request& request) { ++request.errors; }

void Sum(const RShutdownData& end, Request& request) { request.end = end; }

}  // namespace

template <class M>
std::string Report::AddAs(const Any& any) {
  M message;
  if (!ParseShallow(any.value(), message)) {
    return "is not a valid " + message.GetTypeName();
  }
  auto found = requests_.find(message.queue_id());
  if (found == requests_.end()) {
    if (requests_.size() == max_requests_) {
      return "is of one request more than the " + std::to_string(max_requests_) + " allowed";
    }
    found = requests_.try_emplace(message.queue_id()).first;
  }
  ++found->second.messages;
  Sum(message, found->second);
  return "";
}

std::string Report::Add(const std::string& bytes) {
  Any any;
  if (!ParseShallow(bytes, any) || any.type_url().empty()) {
    return "is not a google.protobuf.Any that names a type";
  }
  if (any.Is<RInitData>()) {
    return AddAs<RInitData>(any);
  }
  if (any.Is<Tarq::Functions>()) {
    return AddAs<Tarq::Functions>(any);
  }
  if (any.Is<Tarq::SqlQueries>()) {
    return AddAs<Tarq::SqlQueries>(any);
  }
  if (any.Is<Tarq::Error>()) {
    return AddAs<Tarq::Error>(any);
  }
  if (any.Is<RShutdownData>()) {
    return AddAs<RShutdownData>(any);
  }
  ++other_types_;  // a newer sender may have types that are unknown here
  return "";
}

void Report::Print(std::ostream& out) const {
  out << std::fixed << std::setprecision(3);
  for (const auto& [queue_id, request] : requests_) {
    // Escaped: the text is not trusted, and the output may be a terminal.
    out << google::protobuf::CEscape(queue_id) << ": " << request.messages << " messages, "
        << request.statements << " statements, " << request.failed_statements << " failed, "
        << request.rows << " rows, " << request.sql_seconds << " s of SQL, " << request.calls
        << " calls, " << request.errors << " errors, ";
    if (!request.begun) {
      out << "begin not seen, ";
    }
    if (request.end) {
      out << "status " << request.end->http_response_code() << " after "
          << Seconds(request.end->total_time()) << " s\n";
    } else {
      out << "not ended\n";
    }
  }
  if (other_types_ > 0) {
    out << other_types_ << " messages of other types\n";
  }
}
