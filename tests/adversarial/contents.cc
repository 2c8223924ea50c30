#include "contents.h"

#include <google/protobuf/unknown_field_set.h>

#include "support/fill.h"
#include "support/message_list.h"

namespace allocation {
namespace {

using contract::AddUnknownFields;
using google::protobuf::DynamicCastToGenerated;
namespace Config = quor::protobuf::Config;
namespace JQ = quor::protobuf::JQ;
namespace Tarq = quor::protobuf::Tarq;

// Has a buffer of its own.
std::string Text(const char* what, int variant) {
  return std::string(what) + " of more than fifteen bytes, variant " + std::to_string(variant);
}

template <class M>
M& As(Message& message) {
  return *DynamicCastToGenerated<M>(&message);
}

void BuildQuery(Message& message, int variant) {
  auto& query = As<Tarq::SqlQuery>(message);
  query.set_query(Text("a statement", variant));
  query.set_connection_id(static_cast<std::uint32_t>(variant));
  query.mutable_duration()->set_nanos(variant + 1);
  query.mutable_error()->set_message(Text("an error", variant));
}

void BuildHeaders(Message& message, int variant) {
  auto& headers = As<Tarq::RequestHeaders>(message);
  headers.set_queue_id(Text("a queue", variant));
  for (const char* const name : {"first", "second", "third"}) {
    headers.add_headers(Text(name, variant));
  }
}

void BuildSettings(Message& message, int variant) {
  auto& set = As<Config::Set>(message);
  for (const char* const name : {"first", "second"}) {
    auto& name_space = *set.add_namespaces();
    name_space.set_name(Text(name, variant));
    name_space.add_values()->set_string_value(Text("a value", variant));
    name_space.add_values()->set_int_value(variant);
  }
}

void BuildAttributes(Message& message, int variant) {
  auto& attributes = *As<JQ::AttrList>(message).mutable_attr_list();
  attributes[1].set_int_value(variant);
  attributes[2].set_string_value(Text("a value", variant));
}

void BuildJobs(Message& message, int variant) {
  auto& jobs = As<JQ::JobList>(message);
  for (int i = 0; i < 2; ++i) {
    auto& job = *jobs.add_jobs();
    job.mutable_created()->set_seconds(variant + 1);
    job.set_queue_name(Text("a queue", variant));
    job.set_body(Text("a body", variant));
    BuildAttributes(*job.mutable_attr_list(), variant);
  }
}

void BuildUnknown(Message& message, int variant) { AddUnknownFields(message, variant); }

}  // namespace

std::unique_ptr<Message> Content::Built(int variant) const {
  auto message = contract::NewOnHeap(*prototype);
  build(*message, variant);
  return message;
}

const std::vector<Content>& Contents() {
  static const std::vector<Content> contents = {
      {"Query", &Tarq::SqlQuery::default_instance(), BuildQuery},
      {"Headers", &Tarq::RequestHeaders::default_instance(), BuildHeaders},
      {"Settings", &Config::Set::default_instance(), BuildSettings},
      {"Attributes", &JQ::AttrList::default_instance(), BuildAttributes},
      {"Jobs", &JQ::JobList::default_instance(), BuildJobs},
      {"Unknown", &JQ::Result::default_instance(), BuildUnknown},
  };
  return contents;
}

}  // namespace allocation
