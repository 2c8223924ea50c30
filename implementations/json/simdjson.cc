// simdjson: reads the JSON form of the messages and visits all values. It does not write.

#include <simdjson.h>

#include <cstddef>
#include <string>

#include "../measure.h"

namespace {

// The number of values, and the length of the text in them and in their names.
struct Seen {
  std::size_t values = 0;
  std::size_t text = 0;
  double numbers = 0;

  bool operator==(const Seen& other) const {
    return values == other.values && text == other.text && numbers == other.numbers;
  }
};

void See(const simdjson::dom::element& element, Seen& seen) {
  ++seen.values;
  switch (element.type()) {
    case simdjson::dom::element_type::ARRAY:
      for (const simdjson::dom::element part : simdjson::dom::array(element)) {
        See(part, seen);
      }
      break;
    case simdjson::dom::element_type::OBJECT:
      for (const auto& [name, part] : simdjson::dom::object(element)) {
        seen.text += name.size();
        See(part, seen);
      }
      break;
    case simdjson::dom::element_type::STRING:
      seen.text += std::string_view(element).size();
      break;
    case simdjson::dom::element_type::INT64:
    case simdjson::dom::element_type::UINT64:
    case simdjson::dom::element_type::DOUBLE:
      seen.numbers += double(element);
      break;
    default:
      break;
  }
}

void See(simdjson::ondemand::value value, Seen& seen) {
  ++seen.values;
  switch (value.type()) {
    case simdjson::ondemand::json_type::array:
      for (simdjson::ondemand::value part : value.get_array()) {
        See(part, seen);
      }
      break;
    case simdjson::ondemand::json_type::object:
      for (auto field : value.get_object()) {
        seen.text += std::string_view(field.unescaped_key()).size();
        See(field.value(), seen);
      }
      break;
    case simdjson::ondemand::json_type::string:
      seen.text += std::string_view(value.get_string()).size();
      break;
    case simdjson::ondemand::json_type::number:
      seen.numbers += double(value.get_double());
      break;
    case simdjson::ondemand::json_type::boolean:
      Keep(bool(value.get_bool()));
      break;
    default:
      break;
  }
}

Seen SeenInTree(simdjson::dom::parser& parser, const simdjson::padded_string& json) {
  Seen seen;
  See(parser.parse(json), seen);
  return seen;
}

Seen SeenOnDemand(simdjson::ondemand::parser& parser, const simdjson::padded_string& json) {
  Seen seen;
  simdjson::ondemand::document document = parser.iterate(json);
  See(document.get_value(), seen);
  return seen;
}

void MeasureMessage(const Measurer& measurer, const std::string& workload) {
  const simdjson::padded_string json(measurer.Json(workload));
  simdjson::dom::parser dom;
  simdjson::ondemand::parser on_demand;
  const Seen seen = SeenInTree(dom, json);
  Check(seen.text > 0 && SeenOnDemand(on_demand, json) == seen,
        workload + ": the two ways see different values");

  // Both parsers keep their memory for the next text, as their documentation recommends.
  measurer.Time(workload, "json_parse", [&] { Keep(SeenInTree(dom, json)); });
  measurer.Time(workload, "json_iterate", [&] { Keep(SeenOnDemand(on_demand, json)); });
}

void MeasureAll(const Measurer& measurer) {
  for (const char* workload : {"SqlQuery", "SqlQueries", "Functions", "JobList", "Event", "Text"}) {
    MeasureMessage(measurer, workload);
  }
}

}  // namespace

int main(int argc, char** argv) { return RunBenchmark(argc, argv, MeasureAll); }
