#include "plugin.h"

#include <google/protobuf/message.h>
#include <qmsg/tarq.pb.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "use.h"

namespace {

using google::protobuf::Message;
using quor::protobuf::Tarq::SqlQuery;

int UseIt() {
  const std::string problem = embedding::Use();
  if (!problem.empty()) {
    std::fprintf(stderr, "plugin: a query %s\n", problem.c_str());
  }
  return problem.empty() ? 0 : 1;
}

const char* Declarations() {
  static const std::string text = embedding::Declarations();
  return text.c_str();
}

std::size_t ReflectionAddresses(const void** addresses) {
  const std::vector<const void*> all = embedding::ReflectionAddresses();
  std::copy(all.begin(), all.end(), addresses);
  return all.size();
}

void* Make(const char* query) {
  auto* message = new SqlQuery;
  message->set_query(query);
  return static_cast<Message*>(message);
}

int Reads(const void* message, const char* query) {
  const auto* any = static_cast<const Message*>(message);
  const auto* as_query = dynamic_cast<const SqlQuery*>(any);
  return static_cast<int>(as_query != nullptr && any->GetDescriptor() == SqlQuery::descriptor() &&
                          as_query->query() == query);
}

void Drop(void* message) { delete static_cast<Message*>(message); }

}  // namespace

extern "C" const Plugin qmsg_plugin;
const Plugin qmsg_plugin = {&UseIt, &Declarations, &ReflectionAddresses, &Make, &Reads, &Drop};
