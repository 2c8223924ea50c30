#ifndef QMSG_EXAMPLES_PRODUCER_CONSUMER_FRAME_READER_H_
#define QMSG_EXAMPLES_PRODUCER_CONSUMER_FRAME_READER_H_

#include <google/protobuf/io/zero_copy_stream_impl.h>

#include <cstdint>
#include <string>

// Reads messages that follow their lengths, from a file descriptor that strangers may write to.
// Throws nothing for any bytes, and takes no more memory than `max_size` bytes and a buffer.
class FrameReader {
 public:
  FrameReader(int file, int max_size) : stream_(file), max_size_(max_size) {}

  // Reads the bytes of the next message. False at the end, and when no message can follow any more:
  // then error() says why.
  bool Next(std::string& bytes);

  // Empty if all was well.
  const std::string& error() const { return error_; }

  // Which message Next() was about, counted from 0, and where its length begins in the stream.
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
