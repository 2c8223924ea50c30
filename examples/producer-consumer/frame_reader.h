#ifndef QMSG_EXAMPLES_PRODUCER_CONSUMER_FRAME_READER_H_
#define QMSG_EXAMPLES_PRODUCER_CONSUMER_FRAME_READER_H_

#include <google/protobuf/io/zero_copy_stream_impl.h>

#include <cstdint>
#include <string>

// Reads length-delimited messages from a file descriptor with untrusted input. Throws nothing for
// any bytes, and takes no more memory than `max_size` bytes and a buffer.
class FrameReader {
 public:
  FrameReader(int file, int max_size) : stream_(file), max_size_(max_size) {}

  // Reads the bytes of the next message. Returns false at the end, and if the stream is broken:
  // then error() says why.
  bool Next(std::string& bytes);

  // Empty unless the stream is broken.
  const std::string& error() const { return error_; }

  // The number of the message that Next() read last, from 0, and the offset of its length.
  std::string Position() const;

 private:
  bool Stop(const std::string& reason);

  google::protobuf::io::FileInputStream stream_;
  int max_size_;
  std::int64_t number_ = -1;
  std::int64_t offset_ = 0;
  std::string error_;
};

#endif
