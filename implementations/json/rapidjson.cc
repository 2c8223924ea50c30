// RapidJSON: reads and writes the JSON form of the messages.

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <stdexcept>
#include <string>

#include "../measure.h"

namespace {

// `kParseValidateEncodingFlag` refuses text that is not UTF-8, as the library does.
rapidjson::Document Read(const std::string& json) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(json.data(), json.size());
  if (document.HasParseError()) {
    throw std::runtime_error("refused at byte " + std::to_string(document.GetErrorOffset()));
  }
  return document;
}

std::string Written(const rapidjson::Document& document) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  document.Accept(writer);
  return {buffer.GetString(), buffer.GetSize()};
}

void MeasureMessage(const Measurer& measurer, const std::string& workload) {
  const std::string json = measurer.Json(workload);
  const rapidjson::Document document = Read(json);
  // Not the same text: the writer chooses how to escape a character.
  Check(Read(Written(document)) == document, workload + ": writes another value");

  measurer.Time(workload, "json_parse", [&] { Keep(Read(json)); });
  measurer.Time(workload, "json_serialise", [&] { Keep(Written(document)); });
}

void MeasureAll(const Measurer& measurer) {
  for (const char* workload : {"SqlQuery", "SqlQueries", "Functions", "JobList", "Event", "Text"}) {
    MeasureMessage(measurer, workload);
  }
}

}  // namespace

int main(int argc, char** argv) { return RunBenchmark(argc, argv, MeasureAll); }
