// A program that knows nothing of qmsg but its headers. Written in C++11, the oldest standard that
// the headers support.
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <qmsg/codetrace.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <cstdlib>
#include <iostream>
#include <string>

using quor::protobuf::Tarq::SqlError;
using quor::protobuf::Tarq::SqlQuery;

// The default instance as the other translation unit sees it.
const SqlError* DefaultErrorElsewhere();

namespace {

int mistakes = 0;

template <typename T>
void ExpectEqual(const std::string& what, const T& expected, const T& found) {
  if (expected == found) {
    return;
  }
  std::cerr << what << "\n  expected: " << expected << "\n  found: " << found << '\n';
  ++mistakes;
}

// An executable may hold a copy of the library's data: all parties have to use the same one.
void CheckDefaultInstance() {
  const google::protobuf::Message* expected = &SqlError::default_instance();
  const google::protobuf::Message* absent = &SqlQuery().error();
  const google::protobuf::Message* elsewhere = DefaultErrorElsewhere();
  const google::protobuf::Message* in_library =
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(SqlError::descriptor());
  ExpectEqual("error() of a query without an error", expected, absent);
  ExpectEqual("default instance in another translation unit", expected, elsewhere);
  ExpectEqual("default instance inside the library", expected, in_library);
}

void CheckRoundTrip() {
  SqlQuery sent;
  sent.set_query("SELECT 1");
  sent.mutable_error()->set_message("gone away");
  const std::string bytes = sent.SerializeAsString();
  ExpectEqual("bytes of a query", std::string("\x2a\x08SELECT 1\x42\x0b\x0a\x09gone away"), bytes);

  SqlQuery received;
  ExpectEqual("result of parsing them", true, received.ParseFromString(bytes));
  ExpectEqual("query after a round trip", sent.query(), received.query());
  ExpectEqual("error after a round trip", sent.error().message(), received.error().message());
}

// Nothing else here refers to the job queue: the file is registered because the library is loaded.
void CheckPool() {
  const google::protobuf::Descriptor* job =
      google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(
          "quor.protobuf.JQ.Job");
  ExpectEqual("pool knows quor.protobuf.JQ.Job", true, job != nullptr);
}

}  // namespace

int main() {
  CheckDefaultInstance();
  CheckRoundTrip();
  CheckPool();
  return mistakes == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
