#ifndef QMSG_EXAMPLES_ROUTE_BY_QUEUE_QUEUE_ID_H_
#define QMSG_EXAMPLES_ROUTE_BY_QUEUE_QUEUE_ID_H_

#include <qmsg/jobqueue.pb.h>

#include <cstdint>
#include <protozero/pbf_reader.hpp>

// The queue number of a job, given as the bytes of a `quor.protobuf.JQ.Job`, or 0 if it has none.
// Skips all other fields unread. Throws protozero::exception if the bytes are not a sequence of
// fields.
inline std::int64_t QueueId(protozero::data_view job) {
  std::int64_t queue_id = 0;
  protozero::pbf_reader fields(job);
  while (
      fields.next(quor::protobuf::JQ::Job::kQueueIdFieldNumber, protozero::pbf_wire_type::varint)) {
    queue_id = fields.get_int64();  // the last one holds
  }
  return queue_id;
}

#endif
