// protobuf-c: unpacks and packs the messages.

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "../measure.h"
#include "jobqueue.pb-c.h"
#include "monitor.pb-c.h"
#include "tarq.pb-c.h"

namespace {

struct Free {
  void operator()(ProtobufCMessage* message) const {
    protobuf_c_message_free_unpacked(message, nullptr);
  }
};
using Message = std::unique_ptr<ProtobufCMessage, Free>;

Message Read(const ProtobufCMessageDescriptor& type, const std::string& bytes) {
  Message message(protobuf_c_message_unpack(&type, nullptr, bytes.size(),
                                            reinterpret_cast<const std::uint8_t*>(bytes.data())));
  if (message == nullptr) {
    throw std::runtime_error(std::string(type.name) + ": refused");
  }
  return message;
}

// Into a new buffer, as a sender would.
std::string Written(const Message& message) {
  std::string bytes(protobuf_c_message_get_packed_size(message.get()), '\0');
  protobuf_c_message_pack(message.get(), reinterpret_cast<std::uint8_t*>(bytes.data()));
  return bytes;
}

void MeasureMessage(const Measurer& measurer, const std::string& workload,
                    const ProtobufCMessageDescriptor& type) {
  const std::string bytes = measurer.Bytes(workload);
  const Message message = Read(type, bytes);
  CheckBytes(workload, Written(message), bytes);

  measurer.Time(workload, "parse", [&] { Keep(*Read(type, bytes)); });
  measurer.Time(workload, "serialise", [&] { Keep(Written(message)); });
}

void MeasureAll(const Measurer& measurer) {
  MeasureMessage(measurer, "SqlQuery", quor__protobuf__tarq__sql_query__descriptor);
  MeasureMessage(measurer, "SqlQueries", quor__protobuf__tarq__sql_queries__descriptor);
  MeasureMessage(measurer, "Functions", quor__protobuf__tarq__functions__descriptor);
  MeasureMessage(measurer, "JobList", quor__protobuf__jq__job_list__descriptor);
  MeasureMessage(measurer, "Event", quor__protobuf__monitor__event__descriptor);
  MeasureMessage(measurer, "Text", quor__protobuf__tarq__storage__descriptor);
}

}  // namespace

int main(int argc, char** argv) { return RunBenchmark(argc, argv, MeasureAll); }
