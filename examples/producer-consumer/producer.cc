// Writes the records of some requests to standard output: a stream of several message types.

#include <google/protobuf/any.pb.h>
#include <google/protobuf/util/delimited_message_util.h>
#include <google/protobuf/util/time_util.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <string>

namespace {

using google::protobuf::util::TimeUtil;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
namespace Tarq = quor::protobuf::Tarq;

constexpr const char* kUsage =
    "usage: producer REQUESTS\n"
    "Writes the records of that many requests, each in a google.protobuf.Any after its length.\n";

// The bytes of a message do not tell its type, so each message travels in an Any, which names it.
bool Write(const google::protobuf::Message& message, std::ostream& out) {
  google::protobuf::Any any;
  any.PackFrom(message);
  return google::protobuf::util::SerializeDelimitedToOstream(any, &out);
}

std::string QueueId(int request) { return "r" + std::to_string(request); }

RInitData Begin(int request) {
  RInitData begin;
  begin.set_queue_id(QueueId(request));
  begin.set_method("GET");
  begin.set_target("/product/" + std::to_string(request));
  return begin;
}

Tarq::Functions Profile(int request) {
  Tarq::Functions profile;
  profile.set_queue_id(QueueId(request));
  for (const char* name : {"render", "load"}) {
    auto* function = profile.add_functions();
    function->set_function_type(Tarq::Function::USER);
    function->set_function_name(name);
    function->set_times_called(static_cast<std::uint32_t>(request));
  }
  return profile;
}

Tarq::SqlQueries Queries(int request) {
  Tarq::SqlQueries queries;
  queries.set_queue_id(QueueId(request));
  for (int i = 1; i <= request; ++i) {
    auto* query = queries.add_queries();
    query->set_query("SELECT name FROM product WHERE id < ?");
    query->set_rows(i);
    *query->mutable_duration() = TimeUtil::MillisecondsToDuration(std::int64_t{2} * i);
  }
  return queries;
}

Tarq::Error Warning(int request) {
  Tarq::Error warning;
  warning.set_queue_id(QueueId(request));
  warning.set_severity(Tarq::Error::WARNING);
  warning.set_message("Undefined variable $price");
  return warning;
}

RShutdownData End(int request) {
  RShutdownData end;
  end.set_queue_id(QueueId(request));
  end.set_http_response_code(200);
  *end.mutable_total_time() = TimeUtil::MillisecondsToDuration(std::int64_t{10} * request);
  return end;
}

// Requests run in parallel, so their records are mixed. Every second request has a warning.
bool WriteAll(int requests, std::ostream& out) {
  bool written = true;
  for (int i = 1; i <= requests; ++i) {
    written = written && Write(Begin(i), out);
  }
  for (int i = 1; i <= requests; ++i) {
    written = written && Write(Profile(i), out) && Write(Queries(i), out);
    if (i % 2 == 0) {
      written = written && Write(Warning(i), out);
    }
  }
  for (int i = 1; i <= requests; ++i) {
    written = written && Write(End(i), out);
  }
  return written && out.flush();
}

}  // namespace

int main(int argc, char** argv) {
  int requests = 0;
  const char* end = argc == 2 ? argv[1] + std::strlen(argv[1]) : nullptr;
  if (end == nullptr || std::from_chars(argv[1], end, requests).ptr != end || requests < 1) {
    std::cerr << kUsage;
    return 2;
  }
  if (!WriteAll(requests, std::cout)) {
    std::cerr << "producer: the stream could not be written\n";
    return 1;
  }
}
