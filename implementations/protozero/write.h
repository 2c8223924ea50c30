// Writes the structs with protozero, in the order of the field numbers. Fields that are 0 or empty
// are left out, unless they are members of a oneof.

#ifndef QMSG_IMPLEMENTATIONS_PROTOZERO_WRITE_H_
#define QMSG_IMPLEMENTATIONS_PROTOZERO_WRITE_H_

#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <protozero/pbf_writer.hpp>
#include <string>
#include <variant>

#include "../structs.h"

namespace structs {

namespace JQ = quor::protobuf::JQ;
namespace Monitor = quor::protobuf::Monitor;
namespace QuorPHP = quor::protobuf::QuorPHP;
namespace Tarq = quor::protobuf::Tarq;

using std::string;

// A writer that knows its output.
class Writer : public protozero::pbf_writer {
 public:
  explicit Writer(string& bytes) : basic_pbf_writer(bytes), bytes_(bytes) {}
  // Writes a sub-message of `around`.
  Writer(Writer& around, protozero::pbf_tag_type field)
      : basic_pbf_writer(around, field), bytes_(around.bytes_) {}

  std::size_t Size() const { return bytes_.size(); }

 private:
  string& bytes_;
};

inline void AddText(Writer& writer, protozero::pbf_tag_type field, const string& text) {
  if (!text.empty()) {
    writer.add_string(field, text);
  }
}

inline void AddInt32(Writer& writer, protozero::pbf_tag_type field, std::int32_t number) {
  if (number != 0) {
    writer.add_int32(field, number);
  }
}

inline void AddInt64(Writer& writer, protozero::pbf_tag_type field, std::int64_t number) {
  if (number != 0) {
    writer.add_int64(field, number);
  }
}

inline void AddUint32(Writer& writer, protozero::pbf_tag_type field, std::uint32_t number) {
  if (number != 0) {
    writer.add_uint32(field, number);
  }
}

// Tells the members of a oneof apart.
template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

template <typename Message>
void AddMessage(Writer& writer, protozero::pbf_tag_type field, const Message& message) {
  const std::size_t size = writer.Size();
  {
    Writer part(writer, field);
    Write(part, message);
  }
  if (writer.Size() == size) {  // protozero drops an empty sub-message
    writer.add_message(field, nullptr, 0);
  }
}

template <typename Message>
void AddMessage(Writer& writer, protozero::pbf_tag_type field,
                const std::optional<Message>& message) {
  if (message) {
    AddMessage(writer, field, *message);
  }
}

template <typename Message>
void AddMessages(Writer& writer, protozero::pbf_tag_type field,
                 const std::vector<Message>& messages) {
  for (const Message& message : messages) {
    AddMessage(writer, field, message);
  }
}

inline void Write(Writer& writer, const Time& time) {
  using Fields = google::protobuf::Timestamp;  // a Duration's are the same
  AddInt64(writer, Fields::kSecondsFieldNumber, time.seconds);
  AddInt32(writer, Fields::kNanosFieldNumber, time.nanos);
}

inline void Write(Writer& writer, const Value<string>& value) {
  using Fields = QuorPHP::QVal;
  AddInt32(writer, Fields::kValueTypeFieldNumber, value.type);
  std::visit(
      Overloaded{
          [](std::monostate) {},
          [&](bool flag) { writer.add_bool(Fields::kBoolValueFieldNumber, flag); },
          [&](const string& text) { writer.add_string(Fields::kStringValueFieldNumber, text); },
          [&](std::int64_t number) { writer.add_int64(Fields::kIntValueFieldNumber, number); },
          [&](double number) { writer.add_double(Fields::kDoubleValueFieldNumber, number); },
          [&](const Json<string>& json) {
            writer.add_string(Fields::kJsonValueFieldNumber, json.text);
          },
          [&](const Time& time) { AddMessage(writer, Fields::kTmValueFieldNumber, time); },
      },
      value.value);
}

inline void Write(Writer& writer, const ArrayElement<string>& element) {
  using Fields = QuorPHP::QuorArrayValue;
  std::visit(Overloaded{
                 [](std::monostate) {},
                 [&](const string& key) { writer.add_string(Fields::kStringKeyFieldNumber, key); },
                 [&](std::int64_t key) { writer.add_int64(Fields::kIntKeyFieldNumber, key); },
             },
             element.key);
  AddMessage(writer, Fields::kValueFieldNumber, element.value);
}

inline void Write(Writer& writer, const Array<string>& array) {
  AddMessages(writer, QuorPHP::QuorArray::kValuesFieldNumber, array.elements);
}

inline void Write(Writer& writer, const Frame<string>& frame) {
  using Fields = QuorPHP::StackTraceFrame;
  AddUint32(writer, Fields::kFrameIdFieldNumber, frame.id);
  AddText(writer, Fields::kFunctionNameFieldNumber, frame.function_name);
  AddText(writer, Fields::kFileNameFieldNumber, frame.file_name);
  AddUint32(writer, Fields::kLineNoFieldNumber, frame.line);
  AddMessage(writer, Fields::kFunctionArgsFieldNumber, frame.arguments);
}

inline void Write(Writer& writer, const StackTrace<string>& stack) {
  AddMessages(writer, QuorPHP::StackTrace::kFramesFieldNumber, stack.frames);
}

inline void Write(Writer& writer, const SqlError<string>& error) {
  AddText(writer, Tarq::SqlError::kMessageFieldNumber, error.message);
}

inline void Write(Writer& writer, const SqlQuery<string>& query) {
  using Fields = Tarq::SqlQuery;
  AddInt32(writer, Fields::kStatementTypeFieldNumber, query.statement_type);
  if (query.connection) {
    writer.add_uint32(Fields::kConnectionIdFieldNumber, *query.connection);
  }
  if (query.driver) {
    writer.add_int32(Fields::kDriverTypeFieldNumber, *query.driver);
  }
  if (query.transaction) {
    writer.add_uint32(Fields::kTransactionIdFieldNumber, *query.transaction);
  }
  AddText(writer, Fields::kQueryFieldNumber, query.query);
  AddInt32(writer, Fields::kStatusFieldNumber, query.status);
  if (query.flags != 0) {
    writer.add_uint64(Fields::kFlagsFieldNumber, query.flags);
  }
  AddMessage(writer, Fields::kErrorFieldNumber, query.error);
  AddMessage(writer, Fields::kDurationFieldNumber, query.duration);
  AddInt32(writer, Fields::kRowsFieldNumber, query.rows);
  AddMessage(writer, Fields::kStackTraceFieldNumber, query.stack_trace);
}

inline void Write(Writer& writer, const SqlQueries<string>& queries) {
  AddText(writer, Tarq::SqlQueries::kQueueIdFieldNumber, queries.queue_id);
  AddMessages(writer, Tarq::SqlQueries::kQueriesFieldNumber, queries.queries);
}

inline void Write(Writer& writer, const Function<string>& function) {
  using Fields = Tarq::Function;
  AddInt32(writer, Fields::kFunctionTypeFieldNumber, function.type);
  AddText(writer, Fields::kFunctionNameFieldNumber, function.name);
  AddUint32(writer, Fields::kTimesCalledFieldNumber, function.times_called);
  AddMessage(writer, Fields::kDurationInclusiveFieldNumber, function.inclusive);
  AddMessage(writer, Fields::kDurationExclusiveFieldNumber, function.exclusive);
  AddText(writer, Fields::kFileNameFieldNumber, function.file_name);
  AddUint32(writer, Fields::kLineStartFieldNumber, function.line_start);
  AddUint32(writer, Fields::kLineEndFieldNumber, function.line_end);
}

inline void Write(Writer& writer, const Functions<string>& functions) {
  AddText(writer, Tarq::Functions::kQueueIdFieldNumber, functions.queue_id);
  AddMessages(writer, Tarq::Functions::kFunctionsFieldNumber, functions.functions);
}

inline void Write(Writer& writer, const Attributes<string>& attributes) {
  // An entry of a map: its key is field 1, its value field 2.
  for (const auto& [key, value] : attributes.values) {
    Writer entry(writer, JQ::AttrList::kAttrListFieldNumber);
    entry.add_int32(1, key);
    AddMessage(entry, 2, value);
  }
}

inline void Write(Writer& writer, const Job<string>& job) {
  using Fields = JQ::Job;
  AddInt64(writer, Fields::kJobIdFieldNumber, job.id);
  AddInt32(writer, Fields::kTypeFieldNumber, job.type);
  AddMessage(writer, Fields::kAttrListFieldNumber, job.attributes);
  AddMessage(writer, Fields::kCreatedFieldNumber, job.created);
  AddInt64(writer, Fields::kQueueIdFieldNumber, job.queue_id);
  AddText(writer, Fields::kQueueNameFieldNumber, job.queue_name);
  AddText(writer, Fields::kEnvFieldNumber, job.environment);
  AddText(writer, Fields::kArgsFieldNumber, job.arguments);
  AddText(writer, Fields::kBodyFieldNumber, job.body);
  AddMessage(writer, Fields::kScheduledTimeFieldNumber, job.scheduled);
  AddInt32(writer, Fields::kStatusFieldNumber, job.status);
  AddInt32(writer, Fields::kRetryCountFieldNumber, job.retry_count);
  AddText(writer, Fields::kOutputFieldNumber, job.output);
  AddMessage(writer, Fields::kCompletionTimeFieldNumber, job.completed);
}

inline void Write(Writer& writer, const JobList<string>& list) {
  AddMessages(writer, JQ::JobList::kJobsFieldNumber, list.jobs);
}

inline void Write(Writer& writer, const FunctionData<string>& function) {
  using Fields = Monitor::FunctionData;
  AddText(writer, Fields::kFunctionNameFieldNumber, function.function_name);
  AddMessage(writer, Fields::kFunctionArgsFieldNumber, function.arguments);
  AddText(writer, Fields::kFileNameFieldNumber, function.file_name);
  AddUint32(writer, Fields::kLineNoFieldNumber, function.line);
}

inline void Write(Writer& writer, const PhpError<string>& error) {
  using Fields = Monitor::PhpErrorData;
  AddInt32(writer, Fields::kErrorTypeFieldNumber, error.type);
  AddText(writer, Fields::kErrorTypeStrFieldNumber, error.type_name);
  AddText(writer, Fields::kFileNameFieldNumber, error.file_name);
  AddUint32(writer, Fields::kLineNoFieldNumber, error.line);
  AddText(writer, Fields::kMessageFieldNumber, error.message);
}

inline void Write(Writer& writer, const CustomEvent<string>& event) {
  using Fields = Monitor::CustomEventData;
  AddText(writer, Fields::kTypeFieldNumber, event.type);
  AddText(writer, Fields::kTextFieldNumber, event.text);
  AddMessage(writer, Fields::kUserDataFieldNumber, event.user_data);
  AddInt32(writer, Fields::kSeverityFieldNumber, event.severity);
}

inline void Write(Writer& writer, const Event<string>& event) {
  using Fields = Monitor::Event;
  AddInt32(writer, Fields::kEventTypeFieldNumber, event.type);
  AddText(writer, Fields::kRuleNameFieldNumber, event.rule_name);
  AddMessage(writer, Fields::kTimestampFieldNumber, event.time);
  AddMessage(writer, Fields::kFunctionFieldNumber, event.function);
  AddMessages(writer, Fields::kStackTraceFieldNumber, event.stack_trace);
  std::visit(Overloaded{
                 [](std::monostate) {},
                 [&](const Time& time) { AddMessage(writer, Fields::kExecTimeFieldNumber, time); },
                 [&](std::uint64_t bytes) {
                   writer.add_uint64(Fields::kMemoryUsageBytesFieldNumber, bytes);
                 },
                 [&](const PhpError<string>& error) {
                   AddMessage(writer, Fields::kPhpErrorFieldNumber, error);
                 },
                 [&](const CustomEvent<string>& custom) {
                   AddMessage(writer, Fields::kCustomFieldNumber, custom);
                 },
             },
             event.data);
  if (event.code_trace) {
    writer.add_bool(Fields::kCodetraceFieldNumber, true);
  }
}

inline void Write(Writer& writer, const StorageData<string>& entry) {
  AddText(writer, Tarq::StorageData::kKeyFieldNumber, entry.key);
  for (const string& text : entry.data) {
    writer.add_string(Tarq::StorageData::kDataFieldNumber, text);
  }
}

inline void Write(Writer& writer, const Storage<string>& storage) {
  AddText(writer, Tarq::Storage::kQueueIdFieldNumber, storage.queue_id);
  AddText(writer, Tarq::Storage::kNameSpaceFieldNumber, storage.name_space);
  AddMessages(writer, Tarq::Storage::kStorageFieldNumber, storage.entries);
}

}  // namespace structs

#endif
