#include "output_shapes.h"

#include <google/protobuf/util/json_util.h>

#include <cstring>
#include <stdexcept>

#include "support/message_list.h"
#include "support/wire.h"

namespace hostile {
namespace {

using namespace std::string_literals;
using contract::wire::LengthDelimitedField;
using google::protobuf::util::JsonPrintOptions;
namespace JQ = quor::protobuf::JQ;
namespace Tarq = quor::protobuf::Tarq;

std::string Json(const Message& message, const JsonPrintOptions& options) {
  std::string json;
  if (!google::protobuf::util::MessageToJsonString(message, &json, options).ok()) {
    throw std::runtime_error("Cannot print " + message.GetTypeName() + " as JSON");
  }
  return json;
}

std::string PlainJson(const Message& message) { return Json(message, JsonPrintOptions()); }

std::string FullJson(const Message& message) {
  JsonPrintOptions options;
  options.add_whitespace = true;
  options.always_print_primitive_fields = true;
  return Json(message, options);
}

std::string Text(const Message& message) { return message.DebugString(); }

std::function<std::string(std::size_t)> Repeat(const std::string& element) {
  return [element](std::size_t size) { return Repeated(element, size); };
}

std::string LongBody(std::size_t size) {
  return LengthDelimitedField(3, std::string(size, '\x01'));
}

// Empty values in the arguments of a stack's only frame.
std::string DeepValues(std::size_t size) {
  std::string bytes = Repeated("\x0a\x00"s, size);
  for (const int field : {5, 1, 11, 2}) {
    bytes = LengthDelimitedField(field, bytes);
  }
  return bytes;
}

// As deep as a reader goes.
std::string DeepGroups(std::size_t size) {
  return NestedGroups(99, Repeated(NestedGroups(1), size));
}

// The length of "jobs {...}," with all that has no presence; indented by two levels, then three.
std::size_t LengthOfFullJob() {
  std::size_t length = std::strlen("  {\n") + std::strlen("  },\n");
  for (const char* member :
       {R"("jobId": "0",)", R"("type": 0,)", R"("queueId": "0",)", R"("queueName": "",)",
        R"("env": "",)", R"("args": "",)", R"("body": "",)", R"("status": 0,)",
        R"("retryCount": 0,)", R"("output": "")"}) {
    length += std::strlen("   ") + std::strlen(member) + std::strlen("\n");
  }
  return length;
}

}  // namespace

const std::vector<OutputShape>& OutputShapes() {
  static const auto& jobs = JQ::JobList::default_instance();
  static const auto& queries = Tarq::SqlQueries::default_instance();
  static const auto& headers = Tarq::RequestHeaders::default_instance();
  static const auto& body = Tarq::ResponseBody::default_instance();
  static const auto& login = quor::protobuf::Login::Login::default_instance();
  static const std::vector<OutputShape> shapes = {
      {R"(`body: "\001..."`)", "JSON", &body, 1, std::strlen("\\u0001"), LongBody, PlainJson},
      {"`queries { connection_id: 0 }`", "JSON", &queries, 4, std::strlen("{\"connectionId\":0},"),
       Repeat("\x12\x02\x10\x00"s), PlainJson},
      {R"(`headers: ""`)", "JSON", &headers, 2, std::strlen("\"\","), Repeat("\x12\x00"s),
       PlainJson},
      {"`jobs {}`", "JSON", &jobs, 2, std::strlen("{},"), Repeat("\x0a\x00"s), PlainJson},
      {"`jobs {}`", "JSON, spaced, all fields", &jobs, 2, LengthOfFullJob(), Repeat("\x0a\x00"s),
       FullJson},
      {R"(`body: "\001..."`)", "text", &body, 1, std::strlen("\\001"), LongBody, Text},
      {R"(`headers: ""`)", "text", &headers, 2, std::strlen("headers: \"\"\n"), Repeat("\x12\x00"s),
       Text},
      // Two spaces for each of four levels, twice.
      {"`values {}`, four levels down", "text", &queries, 2,
       std::size_t{2} * 8 + std::strlen("values {\n}\n"), DeepValues, Text},
      {"`15 {}`, 99 levels down", "text", &login, 2,
       std::size_t{2} * 198 + std::strlen("15 {\n}\n"), DeepGroups, Text},
  };
  return shapes;
}

}  // namespace hostile
