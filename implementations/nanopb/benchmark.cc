// nanopb: decodes and encodes the messages, with texts and lists on the heap.

#include <pb_decode.h>
#include <pb_encode.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "../measure.h"
#include "jobqueue.pb.h"
#include "monitor.pb.h"
#include "tarq.pb.h"

namespace {

template <typename Struct>
struct Release {
  void operator()(Struct* message) const {
    pb_release(nanopb::MessageDescriptor<Struct>::fields(), message);
    delete message;
  }
};
template <typename Struct>
using Message = std::unique_ptr<Struct, Release<Struct>>;

template <typename Struct>
Message<Struct> Read(const std::string& bytes) {
  Message<Struct> message(new Struct());
  pb_istream_t stream =
      pb_istream_from_buffer(reinterpret_cast<const pb_byte_t*>(bytes.data()), bytes.size());
  if (!pb_decode(&stream, nanopb::MessageDescriptor<Struct>::fields(), message.get())) {
    throw std::runtime_error(std::string("refused: ") + PB_GET_ERROR(&stream));
  }
  return message;
}

template <typename Struct>
std::string Written(const Struct& message) {
  const pb_msgdesc_t* const fields = nanopb::MessageDescriptor<Struct>::fields();
  std::size_t size = 0;
  if (!pb_get_encoded_size(&size, fields, &message)) {
    throw std::runtime_error("the message has no size");
  }
  std::string bytes(size, '\0');
  pb_ostream_t stream =
      pb_ostream_from_buffer(reinterpret_cast<pb_byte_t*>(bytes.data()), bytes.size());
  if (!pb_encode(&stream, fields, &message)) {
    throw std::runtime_error(std::string("not written: ") + PB_GET_ERROR(&stream));
  }
  return bytes;
}

template <typename Struct>
void MeasureMessage(const Measurer& measurer, const std::string& workload) {
  const std::string bytes = measurer.Bytes(workload);
  const Message<Struct> message = Read<Struct>(bytes);
  CheckBytes(workload, Written(*message), bytes);

  measurer.Time(workload, "parse", [&] { Keep(*Read<Struct>(bytes)); });
  measurer.Time(workload, "serialise", [&] { Keep(Written(*message)); });
}

void MeasureAll(const Measurer& measurer) {
  MeasureMessage<quor_protobuf_Tarq_SqlQuery>(measurer, "SqlQuery");
  MeasureMessage<quor_protobuf_Tarq_SqlQueries>(measurer, "SqlQueries");
  MeasureMessage<quor_protobuf_Tarq_Functions>(measurer, "Functions");
  MeasureMessage<quor_protobuf_JQ_JobList>(measurer, "JobList");
  MeasureMessage<quor_protobuf_Monitor_Event>(measurer, "Event");
  MeasureMessage<quor_protobuf_Tarq_Storage>(measurer, "Text");
}

}  // namespace

int main(int argc, char** argv) { return RunBenchmark(argc, argv, MeasureAll); }
