// protozero: a hand-written reader and writer of the messages, and one that reads a single field.

#include <protozero/pbf_reader.hpp>
#include <string>
#include <string_view>

#include "../measure.h"
#include "../structs.h"
#include "queue_id.h"
#include "read.h"
#include "write.h"

namespace {

template <typename Message>
Message ReadWhole(const std::string& bytes) {
  Message message;
  Read(protozero::pbf_reader(bytes), message);
  return message;
}

template <typename Message>
std::string Written(const Message& message) {
  std::string bytes;
  structs::Writer writer(bytes);
  Write(writer, message);
  return bytes;
}

template <template <typename> typename Message>
void MeasureMessage(const Measurer& measurer, const std::string& workload) {
  using Copy = Message<std::string>;
  const std::string bytes = measurer.Bytes(workload);
  const Copy message = ReadWhole<Copy>(bytes);
  CheckBytes(workload, Written(message), bytes);

  measurer.Time(workload, "parse", [&] { Keep(ReadWhole<Copy>(bytes)); });
  measurer.Time(workload, "parse_views",
                [&] { Keep(ReadWhole<Message<std::string_view>>(bytes)); });
  measurer.Time(workload, "serialise", [&] { Keep(Written(message)); });
}

// Reads of a list of jobs only what a router needs.
std::int64_t SumOfQueueIds(const std::string& bytes) {
  std::int64_t sum = 0;
  protozero::pbf_reader reader(bytes);
  while (reader.next(structs::JQ::JobList::kJobsFieldNumber)) {
    sum += QueueId(reader.get_view());
  }
  return sum;
}

void MeasureRouting(const Measurer& measurer) {
  const std::string bytes = measurer.Bytes("JobList");
  std::int64_t expected = 0;
  for (const auto& job : ReadWhole<structs::JobList<std::string>>(bytes).jobs) {
    expected += job.queue_id;
  }
  Check(expected > 0 && SumOfQueueIds(bytes) == expected, "JobList: reads other queues");

  measurer.Time("JobList", "parse_queue_id", [&] { Keep(SumOfQueueIds(bytes)); });
}

void MeasureAll(const Measurer& measurer) {
  MeasureMessage<structs::SqlQuery>(measurer, "SqlQuery");
  MeasureMessage<structs::SqlQueries>(measurer, "SqlQueries");
  MeasureMessage<structs::Functions>(measurer, "Functions");
  MeasureMessage<structs::JobList>(measurer, "JobList");
  MeasureMessage<structs::Event>(measurer, "Event");
  MeasureMessage<structs::Storage>(measurer, "Text");
  MeasureRouting(measurer);
}

}  // namespace

int main(int argc, char** argv) { return RunBenchmark(argc, argv, MeasureAll); }
