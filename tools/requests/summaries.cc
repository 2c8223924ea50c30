#include "requests/summaries.h"

#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <iterator>

#include "requests/times.h"

namespace qmsg {
namespace {

using google::protobuf::DynamicCastToGenerated;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
using PhpError = quor::protobuf::Tarq::Error;
using quor::protobuf::Tarq::SqlQueries;
using quor::protobuf::Tarq::SqlQuery;

constexpr std::size_t kLongestText = 300;

}  // namespace

bool Summaries::Counts(const google::protobuf::Descriptor* type) {
  return type == RInitData::descriptor() || type == RShutdownData::descriptor() ||
         type == SqlQueries::descriptor() || type == PhpError::descriptor();
}

void Summaries::Add(const google::protobuf::Message& message) {
  if (const auto* begin = DynamicCastToGenerated<RInitData>(&message)) {
    RequestSummary& request = Find(begin->queue_id());
    request.begin = {begin->timestamp().seconds(), begin->timestamp().nanos(),
                     begin->method().substr(0, kLongestText),
                     begin->target().substr(0, kLongestText)};
  } else if (const auto* end = DynamicCastToGenerated<RShutdownData>(&message)) {
    RequestSummary& request = Find(end->queue_id());
    request.end = {end->http_response_code(), Nanoseconds(end->total_time()),
                   end->memory_peak_usage()};
  } else if (const auto* queries = DynamicCastToGenerated<SqlQueries>(&message)) {
    RequestSummary& request = Find(queries->queue_id());
    for (const SqlQuery& query : queries->queries()) {
      ++request.statements;
      request.failed += query.has_error() ? 1 : 0;
      AddTo(request.sql, Nanoseconds(query.duration()));
    }
  } else if (const auto* error = DynamicCastToGenerated<PhpError>(&message)) {
    ++Find(error->queue_id()).errors;
  }
}

void Summaries::Finish() {
  for (const RequestSummary& request : requests_) {
    tell_(request);
  }
  requests_.clear();
  by_id_.clear();
}

RequestSummary& Summaries::Find(const std::string& queue_id) {
  if (const auto found = by_id_.find(queue_id); found != by_id_.end()) {
    return *found->second;
  }
  if (requests_.size() == kMost) {
    tell_(requests_.front());
    by_id_.erase(requests_.front().queue_id);
    requests_.pop_front();
  }
  requests_.emplace_back().queue_id = queue_id;
  by_id_.emplace(queue_id, std::prev(requests_.end()));
  return requests_.back();
}

}  // namespace qmsg
