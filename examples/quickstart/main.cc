// Makes a message, writes it to bytes, reads them back and prints the result as JSON.

#include <google/protobuf/util/json_util.h>
#include <qmsg/tarq.pb.h>

#include <iostream>

int main() {
  quor::protobuf::Tarq::SqlQueries sent;
  sent.set_queue_id("request-1");
  auto* query = sent.add_queries();
  query->set_connection_id(0);  // set to 0 is not the same as not set
  query->set_query("SELECT name FROM product");
  query->mutable_duration()->set_nanos(1500000);
  query->set_rows(12);

  quor::protobuf::Tarq::SqlQueries received;
  std::string json;
  if (!received.ParseFromString(sent.SerializeAsString()) ||
      !google::protobuf::util::MessageToJsonString(received, &json).ok()) {
    return 1;
  }
  std::cout << json << '\n';
}
