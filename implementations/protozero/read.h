// Reads the structs with protozero, which throws an exception for damaged bytes. Text is not
// checked to be UTF-8. The later one of two occurrences of a sub-message replaces the earlier one.

#ifndef QMSG_IMPLEMENTATIONS_PROTOZERO_READ_H_
#define QMSG_IMPLEMENTATIONS_PROTOZERO_READ_H_

#include <google/protobuf/duration.pb.h>
#include <google/protobuf/timestamp.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <protozero/pbf_reader.hpp>

#include "../structs.h"

namespace structs {

namespace JQ = quor::protobuf::JQ;
namespace Monitor = quor::protobuf::Monitor;
namespace QuorPHP = quor::protobuf::QuorPHP;
namespace Tarq = quor::protobuf::Tarq;

// The tag of a field with the wire type of the function's name.
constexpr std::uint32_t Varint(int field) {
  return protozero::tag_and_type(static_cast<protozero::pbf_tag_type>(field),
                                 protozero::pbf_wire_type::varint);
}
constexpr std::uint32_t Bytes(int field) {
  return protozero::tag_and_type(static_cast<protozero::pbf_tag_type>(field),
                                 protozero::pbf_wire_type::length_delimited);
}
constexpr std::uint32_t Fixed64(int field) {
  return protozero::tag_and_type(static_cast<protozero::pbf_tag_type>(field),
                                 protozero::pbf_wire_type::fixed64);
}

template <typename Text>
Text ReadText(protozero::pbf_reader& reader) {
  const protozero::data_view view = reader.get_view();
  return Text(view.data(), view.size());
}

inline void Read(protozero::pbf_reader reader, Time& time) {
  using Fields = google::protobuf::Timestamp;  // a Duration's are the same
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Varint(Fields::kSecondsFieldNumber):
        time.seconds = reader.get_int64();
        break;
      case Varint(Fields::kNanosFieldNumber):
        time.nanos = reader.get_int32();
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Value<Text>& value) {
  using Fields = QuorPHP::QVal;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Varint(Fields::kValueTypeFieldNumber):
        value.type = reader.get_enum();
        break;
      case Varint(Fields::kBoolValueFieldNumber):
        value.value = reader.get_bool();
        break;
      case Bytes(Fields::kStringValueFieldNumber):
        value.value = ReadText<Text>(reader);
        break;
      case Varint(Fields::kIntValueFieldNumber):
        value.value = reader.get_int64();
        break;
      case Fixed64(Fields::kDoubleValueFieldNumber):
        value.value = reader.get_double();
        break;
      case Bytes(Fields::kJsonValueFieldNumber):
        value.value = Json<Text>{ReadText<Text>(reader)};
        break;
      case Bytes(Fields::kTmValueFieldNumber):
        Read(reader.get_message(), value.value.template emplace<Time>());
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, ArrayElement<Text>& element) {
  using Fields = QuorPHP::QuorArrayValue;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Bytes(Fields::kStringKeyFieldNumber):
        element.key = ReadText<Text>(reader);
        break;
      case Varint(Fields::kIntKeyFieldNumber):
        element.key = reader.get_int64();
        break;
      case Bytes(Fields::kValueFieldNumber):
        Read(reader.get_message(), element.value.emplace());
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Array<Text>& array) {
  while (reader.next()) {
    if (reader.tag_and_type() == Bytes(QuorPHP::QuorArray::kValuesFieldNumber)) {
      Read(reader.get_message(), array.elements.emplace_back());
    } else {
      reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Frame<Text>& frame) {
  using Fields = QuorPHP::StackTraceFrame;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Varint(Fields::kFrameIdFieldNumber):
        frame.id = reader.get_uint32();
        break;
      case Bytes(Fields::kFunctionNameFieldNumber):
        frame.function_name = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kFileNameFieldNumber):
        frame.file_name = ReadText<Text>(reader);
        break;
      case Varint(Fields::kLineNoFieldNumber):
        frame.line = reader.get_uint32();
        break;
      case Bytes(Fields::kFunctionArgsFieldNumber):
        Read(reader.get_message(), frame.arguments.emplace());
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, StackTrace<Text>& stack) {
  while (reader.next()) {
    if (reader.tag_and_type() == Bytes(QuorPHP::StackTrace::kFramesFieldNumber)) {
      Read(reader.get_message(), stack.frames.emplace_back());
    } else {
      reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, SqlError<Text>& error) {
  while (reader.next()) {
    if (reader.tag_and_type() == Bytes(Tarq::SqlError::kMessageFieldNumber)) {
      error.message = ReadText<Text>(reader);
    } else {
      reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, SqlQuery<Text>& query) {
  using Fields = Tarq::SqlQuery;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Varint(Fields::kStatementTypeFieldNumber):
        query.statement_type = reader.get_int32();
        break;
      case Varint(Fields::kConnectionIdFieldNumber):
        query.connection = reader.get_uint32();
        break;
      case Varint(Fields::kDriverTypeFieldNumber):
        query.driver = reader.get_int32();
        break;
      case Varint(Fields::kTransactionIdFieldNumber):
        query.transaction = reader.get_uint32();
        break;
      case Bytes(Fields::kQueryFieldNumber):
        query.query = ReadText<Text>(reader);
        break;
      case Varint(Fields::kStatusFieldNumber):
        query.status = reader.get_int32();
        break;
      case Varint(Fields::kFlagsFieldNumber):
        query.flags = reader.get_uint64();
        break;
      case Bytes(Fields::kErrorFieldNumber):
        Read(reader.get_message(), query.error.emplace());
        break;
      case Bytes(Fields::kDurationFieldNumber):
        Read(reader.get_message(), query.duration.emplace());
        break;
      case Varint(Fields::kRowsFieldNumber):
        query.rows = reader.get_int32();
        break;
      case Bytes(Fields::kStackTraceFieldNumber):
        Read(reader.get_message(), query.stack_trace.emplace());
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, SqlQueries<Text>& queries) {
  using Fields = Tarq::SqlQueries;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Bytes(Fields::kQueueIdFieldNumber):
        queries.queue_id = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kQueriesFieldNumber):
        Read(reader.get_message(), queries.queries.emplace_back());
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Function<Text>& function) {
  using Fields = Tarq::Function;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Varint(Fields::kFunctionTypeFieldNumber):
        function.type = reader.get_enum();
        break;
      case Bytes(Fields::kFunctionNameFieldNumber):
        function.name = ReadText<Text>(reader);
        break;
      case Varint(Fields::kTimesCalledFieldNumber):
        function.times_called = reader.get_uint32();
        break;
      case Bytes(Fields::kDurationInclusiveFieldNumber):
        Read(reader.get_message(), function.inclusive.emplace());
        break;
      case Bytes(Fields::kDurationExclusiveFieldNumber):
        Read(reader.get_message(), function.exclusive.emplace());
        break;
      case Bytes(Fields::kFileNameFieldNumber):
        function.file_name = ReadText<Text>(reader);
        break;
      case Varint(Fields::kLineStartFieldNumber):
        function.line_start = reader.get_uint32();
        break;
      case Varint(Fields::kLineEndFieldNumber):
        function.line_end = reader.get_uint32();
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Functions<Text>& functions) {
  using Fields = Tarq::Functions;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Bytes(Fields::kQueueIdFieldNumber):
        functions.queue_id = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kFunctionsFieldNumber):
        Read(reader.get_message(), functions.functions.emplace_back());
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Attributes<Text>& attributes) {
  while (reader.next()) {
    if (reader.tag_and_type() != Bytes(JQ::AttrList::kAttrListFieldNumber)) {
      reader.skip();
      continue;
    }
    // An entry of a map: its key is field 1, its value field 2.
    protozero::pbf_reader entry = reader.get_message();
    std::int32_t key = 0;
    Value<Text> value;
    while (entry.next()) {
      switch (entry.tag_and_type()) {
        case Varint(1):
          key = entry.get_int32();
          break;
        case Bytes(2):
          Read(entry.get_message(), value);
          break;
        default:
          entry.skip();
      }
    }
    attributes.values.insert_or_assign(key, std::move(value));
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Job<Text>& job) {
  using Fields = JQ::Job;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Varint(Fields::kJobIdFieldNumber):
        job.id = reader.get_int64();
        break;
      case Varint(Fields::kTypeFieldNumber):
        job.type = reader.get_int32();
        break;
      case Bytes(Fields::kAttrListFieldNumber):
        Read(reader.get_message(), job.attributes.emplace());
        break;
      case Bytes(Fields::kCreatedFieldNumber):
        Read(reader.get_message(), job.created.emplace());
        break;
      case Varint(Fields::kQueueIdFieldNumber):
        job.queue_id = reader.get_int64();
        break;
      case Bytes(Fields::kQueueNameFieldNumber):
        job.queue_name = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kEnvFieldNumber):
        job.environment = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kArgsFieldNumber):
        job.arguments = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kBodyFieldNumber):
        job.body = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kScheduledTimeFieldNumber):
        Read(reader.get_message(), job.scheduled.emplace());
        break;
      case Varint(Fields::kStatusFieldNumber):
        job.status = reader.get_int32();
        break;
      case Varint(Fields::kRetryCountFieldNumber):
        job.retry_count = reader.get_int32();
        break;
      case Bytes(Fields::kOutputFieldNumber):
        job.output = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kCompletionTimeFieldNumber):
        Read(reader.get_message(), job.completed.emplace());
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, JobList<Text>& list) {
  while (reader.next()) {
    if (reader.tag_and_type() == Bytes(JQ::JobList::kJobsFieldNumber)) {
      Read(reader.get_message(), list.jobs.emplace_back());
    } else {
      reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, FunctionData<Text>& function) {
  using Fields = Monitor::FunctionData;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Bytes(Fields::kFunctionNameFieldNumber):
        function.function_name = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kFunctionArgsFieldNumber):
        Read(reader.get_message(), function.arguments.emplace());
        break;
      case Bytes(Fields::kFileNameFieldNumber):
        function.file_name = ReadText<Text>(reader);
        break;
      case Varint(Fields::kLineNoFieldNumber):
        function.line = reader.get_uint32();
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, PhpError<Text>& error) {
  using Fields = Monitor::PhpErrorData;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Varint(Fields::kErrorTypeFieldNumber):
        error.type = reader.get_int32();
        break;
      case Bytes(Fields::kErrorTypeStrFieldNumber):
        error.type_name = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kFileNameFieldNumber):
        error.file_name = ReadText<Text>(reader);
        break;
      case Varint(Fields::kLineNoFieldNumber):
        error.line = reader.get_uint32();
        break;
      case Bytes(Fields::kMessageFieldNumber):
        error.message = ReadText<Text>(reader);
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, CustomEvent<Text>& event) {
  using Fields = Monitor::CustomEventData;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Bytes(Fields::kTypeFieldNumber):
        event.type = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kTextFieldNumber):
        event.text = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kUserDataFieldNumber):
        Read(reader.get_message(), event.user_data.emplace());
        break;
      case Varint(Fields::kSeverityFieldNumber):
        event.severity = reader.get_int32();
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Event<Text>& event) {
  using Fields = Monitor::Event;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Varint(Fields::kEventTypeFieldNumber):
        event.type = reader.get_enum();
        break;
      case Bytes(Fields::kRuleNameFieldNumber):
        event.rule_name = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kTimestampFieldNumber):
        Read(reader.get_message(), event.time.emplace());
        break;
      case Bytes(Fields::kFunctionFieldNumber):
        Read(reader.get_message(), event.function.emplace());
        break;
      case Bytes(Fields::kStackTraceFieldNumber):
        Read(reader.get_message(), event.stack_trace.emplace_back());
        break;
      case Bytes(Fields::kExecTimeFieldNumber):
        Read(reader.get_message(), event.data.template emplace<Time>());
        break;
      case Varint(Fields::kMemoryUsageBytesFieldNumber):
        event.data = reader.get_uint64();
        break;
      case Bytes(Fields::kPhpErrorFieldNumber):
        Read(reader.get_message(), event.data.template emplace<PhpError<Text>>());
        break;
      case Bytes(Fields::kCustomFieldNumber):
        Read(reader.get_message(), event.data.template emplace<CustomEvent<Text>>());
        break;
      case Varint(Fields::kCodetraceFieldNumber):
        event.code_trace = reader.get_bool();
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, StorageData<Text>& entry) {
  using Fields = Tarq::StorageData;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Bytes(Fields::kKeyFieldNumber):
        entry.key = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kDataFieldNumber):
        entry.data.push_back(ReadText<Text>(reader));
        break;
      default:
        reader.skip();
    }
  }
}

template <typename Text>
void Read(protozero::pbf_reader reader, Storage<Text>& storage) {
  using Fields = Tarq::Storage;
  while (reader.next()) {
    switch (reader.tag_and_type()) {
      case Bytes(Fields::kQueueIdFieldNumber):
        storage.queue_id = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kNameSpaceFieldNumber):
        storage.name_space = ReadText<Text>(reader);
        break;
      case Bytes(Fields::kStorageFieldNumber):
        Read(reader.get_message(), storage.entries.emplace_back());
        break;
      default:
        reader.skip();
    }
  }
}

}  // namespace structs

#endif
