#include "recording.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <algorithm>

namespace {

using google::protobuf::DynamicCastToGenerated;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;
using quor::protobuf::QuorPHP::RInitData;
using quor::protobuf::QuorPHP::RShutdownData;
using quor::protobuf::Tarq::Functions;
using quor::protobuf::Tarq::SqlConnections;
using quor::protobuf::Tarq::SqlQueries;
using quor::protobuf::Tarq::SqlTransactions;

// Works for any type: the descriptors are enough.
Content Walk(const Message& message) {
  Content content;
  content.messages = 1;
  const Reflection& reflection = *message.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection.ListFields(message, &fields);
  for (const FieldDescriptor* field : fields) {
    const bool is_message = field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE;
    const int size = field->is_repeated() ? reflection.FieldSize(message, field) : 1;
    content.fields += size;
    for (int i = 0; is_message && i < size; ++i) {
      content += Walk(field->is_repeated() ? reflection.GetRepeatedMessage(message, field, i)
                                           : reflection.GetMessage(message, field));
    }
  }
  return content;
}

// The request's tag in any record: a text field named queue_id.
std::optional<std::string> QueueId(const Message& message) {
  const FieldDescriptor* field = message.GetDescriptor()->FindFieldByName("queue_id");
  if (field == nullptr || field->cpp_type() != FieldDescriptor::CPPTYPE_STRING) {
    return std::nullopt;
  }
  return message.GetReflection()->GetString(message, field);
}

Request& FindRequest(std::vector<Request>& requests, const std::string& queue_id) {
  const auto found = std::find_if(requests.begin(), requests.end(), [&](const Request& request) {
    return request.queue_id == queue_id;
  });
  if (found != requests.end()) {
    return *found;
  }
  requests.emplace_back().queue_id = queue_id;
  return requests.back();
}

void Add(const Message& message, Request& request) {
  if (const auto* begin = DynamicCastToGenerated<RInitData>(&message)) {
    request.begin = *begin;
  } else if (const auto* end = DynamicCastToGenerated<RShutdownData>(&message)) {
    request.end = *end;
  } else if (const auto* connections = DynamicCastToGenerated<SqlConnections>(&message)) {
    request.connections.MergeFrom(*connections);
  } else if (const auto* transactions = DynamicCastToGenerated<SqlTransactions>(&message)) {
    request.transactions.MergeFrom(*transactions);
  } else if (const auto* queries = DynamicCastToGenerated<SqlQueries>(&message)) {
    request.queries.MergeFrom(*queries);
  } else if (const auto* functions = DynamicCastToGenerated<Functions>(&message)) {
    request.functions.MergeFrom(*functions);
  }
}

}  // namespace

Content& Content::operator+=(const Content& other) {
  records += other.records;
  bytes += other.bytes;
  messages += other.messages;
  fields += other.fields;
  return *this;
}

Recording ReadRecording(RecordStream& stream) {
  Recording recording;
  for (Record record; stream.Next(record);) {
    Content content = Walk(*record.message);
    content.records = 1;
    content.bytes = record.size;
    recording.content[record.message->GetTypeName()] += content;
    if (const auto queue_id = QueueId(*record.message)) {
      Add(*record.message, FindRequest(recording.requests, *queue_id));
    }
  }
  if (recording.content.empty()) {
    throw BadInput("no records in it: did the script run, and to its end?");
  }
  return recording;
}
