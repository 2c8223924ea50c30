#ifndef QMSG_EXAMPLES_PHP_REQUEST_RECORDING_H_
#define QMSG_EXAMPLES_PHP_REQUEST_RECORDING_H_

#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "record_stream.h"

// The records that carry one `queue_id`.
struct Request {
  std::string queue_id;
  std::optional<quor::protobuf::QuorPHP::RInitData> begin;
  std::optional<quor::protobuf::QuorPHP::RShutdownData> end;
  quor::protobuf::Tarq::SqlConnections connections;
  quor::protobuf::Tarq::SqlTransactions transactions;
  quor::protobuf::Tarq::SqlQueries queries;
  quor::protobuf::Tarq::Functions functions;
};

// What the records of one type contain, nested elements included.
struct Content {
  std::int64_t records = 0;
  std::int64_t bytes = 0;
  std::int64_t messages = 0;
  std::int64_t fields = 0;  // each element of a repeated field counts

  Content& operator+=(const Content& other);
};

struct Recording {
  std::vector<Request> requests;           // in the order of their first records
  std::map<std::string, Content> content;  // by full type name
};

// Reads to the end of the stream. Throws BadInput.
Recording ReadRecording(RecordStream& stream);

#endif
