// The cost of validating all texts of a message, one by one. A reader must not omit it.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/stubs/common.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/tarq.pb.h>
#include <simdjson.h>

#include <algorithm>
#include <string>
#include <vector>

#include "../../implementations/measure.h"

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

// Adds the texts of a message, in the order of writing.
void AddTexts(const Message& message, std::vector<std::string>& texts) {
  const auto* const reflection = message.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(message, &fields);
  for (const FieldDescriptor* field : fields) {
    const int size = field->is_repeated() ? reflection->FieldSize(message, field) : 1;
    for (int i = 0; i < size; ++i) {
      if (field->cpp_type() == FieldDescriptor::CPPTYPE_STRING) {
        texts.push_back(field->is_repeated() ? reflection->GetRepeatedString(message, field, i)
                                             : reflection->GetString(message, field));
      } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        AddTexts(field->is_repeated() ? reflection->GetRepeatedMessage(message, field, i)
                                      : reflection->GetMessage(message, field),
                 texts);
      }
    }
  }
}

bool ValidForSimdjson(const std::string& text) { return simdjson::validate_utf8(text); }

bool ValidForRuntime(const std::string& text) {
  return google::protobuf::internal::IsStructurallyValidUTF8(text.data(),
                                                             static_cast<int>(text.size()));
}

template <typename Valid>
void MeasureCheck(const Measurer& measurer, const std::string& workload,
                  const std::vector<std::string>& texts, const std::string& operation,
                  Valid valid) {
  const std::string cut_off = "\xE2\x82";  // of three bytes
  Check(!valid(cut_off), operation + " takes text that is not UTF-8");
  const auto all_valid = [&] { return std::all_of(texts.begin(), texts.end(), valid); };
  Check(all_valid(), workload + ": " + operation + " refuses a text");
  measurer.Time(workload, operation, [&] { Keep(all_valid()); });
}

template <typename Type>
void MeasureMessage(const Measurer& measurer, const std::string& workload) {
  Type message;
  Check(message.ParseFromString(measurer.Bytes(workload)), workload + ": refused");
  std::vector<std::string> texts;
  AddTexts(message, texts);
  MeasureCheck(measurer, workload, texts, "utf8_simdjson", ValidForSimdjson);
  MeasureCheck(measurer, workload, texts, "utf8_runtime", ValidForRuntime);
}

void MeasureAll(const Measurer& measurer) {
  using namespace quor::protobuf;
  MeasureMessage<Tarq::SqlQuery>(measurer, "SqlQuery");
  MeasureMessage<Tarq::SqlQueries>(measurer, "SqlQueries");
  MeasureMessage<Tarq::Functions>(measurer, "Functions");
  MeasureMessage<JQ::JobList>(measurer, "JobList");
  MeasureMessage<Monitor::Event>(measurer, "Event");
  MeasureMessage<Tarq::Storage>(measurer, "Text");
}

}  // namespace

int main(int argc, char** argv) { return RunBenchmark(argc, argv, MeasureAll); }
