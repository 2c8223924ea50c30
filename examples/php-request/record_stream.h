#ifndef QMSG_EXAMPLES_PHP_REQUEST_RECORD_STREAM_H_
#define QMSG_EXAMPLES_PHP_REQUEST_RECORD_STREAM_H_

#include <google/protobuf/io/zero_copy_stream_impl.h>
#include <google/protobuf/message.h>

#include <cstdint>
#include <istream>
#include <memory>
#include <stdexcept>
#include <string>

// The input is damaged or not a stream of records; what() says where and what to do.
struct BadInput : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Record {
  std::unique_ptr<google::protobuf::Message> message;
  std::int64_t size;  // in the stream, its frame included
};

// Reads records, each a google.protobuf.Any after its length as a varint.
class RecordStream {
 public:
  explicit RecordStream(std::istream& input) : input_(input), bytes_(&input) {}

  // Returns false at the end of the input. Throws BadInput.
  bool Next(Record& record);

 private:
  std::unique_ptr<google::protobuf::Message> Parse(const std::string& bytes) const;
  [[noreturn]] void Refuse(const std::string& reason) const;

  std::istream& input_;
  google::protobuf::io::IstreamInputStream bytes_;
  std::int64_t offset_ = 0;  // of the current record
  int number_ = 0;           // of the current record, the first is 1
};

#endif
