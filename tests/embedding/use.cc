#include "use.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/util/json_util.h>

#include "support/message_list.h"

namespace embedding {
namespace {

using quor::protobuf::Tarq::SqlQuery;

// By hand: query, field 5, and error, field 8, with its message, field 1.
constexpr char kBytes[] = "\x2a\x08SELECT 1\x42\x0b\x0a\x09gone away";
constexpr char kText[] = R"(query: "SELECT 1" error { message: "gone away" })";
constexpr char kJson[] = R"({"query":"SELECT 1","error":{"message":"gone away"}})";

}  // namespace

std::string Use() {
  SqlQuery query;
  if (!query.ParseFromString(kBytes)) {
    return "does not parse";
  }
  if (query.query() != "SELECT 1" || query.error().message() != "gone away") {
    return "parses as something else";
  }
  if (query.SerializeAsString() != kBytes) {
    return "writes other bytes";
  }
  if (query.ShortDebugString() != kText) {
    return "prints as " + query.ShortDebugString();
  }
  std::string json;
  if (!google::protobuf::util::MessageToJsonString(query, &json).ok() || json != kJson) {
    return "prints as JSON " + json;
  }
  return {};
}

std::string Declarations() {
  std::string text;
  contract::AllMessages::ForEach([&text](auto type) {
    const auto* descriptor = decltype(type)::Message::descriptor();
    text += descriptor->full_name() + ' ' + descriptor->DebugString();
  });
  return text;
}

std::vector<const void*> ReflectionAddresses() {
  std::vector<const void*> addresses;
  contract::AllMessages::ForEach([&addresses](auto type) {
    addresses.push_back(decltype(type)::Message::default_instance().GetReflection());
  });
  return addresses;
}

}  // namespace embedding
