#ifndef QMSG_EXAMPLES_ROUTE_BY_QUEUE_QUEUE_ID_H_
#define QMSG_EXAMPLES_ROUTE_BY_QUEUE_QUEUE_ID_H_

#include <qmsg/jobqueue.pb.h>

#include <cstdint>
#include <protozero/pbf_reader.hpp>

// The number of the queue of a job, which is given by the bytes of its `quor.protobuf.JQ.Job`; 0 if
// they give none. All other fields are skipped, unread. Throws protozero::exception for bytes in
// which one field does not follow the other.
inline std::int64_t QueueId(protozero::data_view job) {
  std::int64_t queue_id = 0;
  protozero::pbf_reader fields(job);
  while (
      fields.next(quor::protobuf::JQ::Job::kQueueIdFieldNumber, protozero::pbf_wire_type::varint)) {
    queue_id = fields.get_int64();  // of several, the last one holds
  }
  return queue_id;
}

#endif
