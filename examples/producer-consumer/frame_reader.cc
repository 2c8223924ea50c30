#include "frame_reader.h"

#include <google/protobuf/io/coded_stream.h>

#include <system_error>

bool FrameReader::Next(std::string& bytes) {
  offset_ = stream_.ByteCount();
  ++number_;

  const void* data = nullptr;
  int available = 0;
  if (!stream_.Next(&data, &available)) {  // a stream may end between two messages only
    return stream_.GetErrno() != 0 && Stop(std::generic_category().message(stream_.GetErrno()));
  }
  stream_.BackUp(available);

  google::protobuf::io::CodedInputStream input(&stream_);
  std::uint32_t size = 0;
  if (!input.ReadVarint32(&size)) {
    return Stop("has no valid length: the stream is cut off here, or has other framing");
  }
  if (size > static_cast<std::uint32_t>(max_size_)) {
    return Stop("says that it has " + std::to_string(size) + " bytes, more than the " +
                std::to_string(max_size_) + " allowed");
  }
  if (!input.ReadString(&bytes, static_cast<int>(size))) {
    return Stop("should have " + std::to_string(size) + " bytes, but the stream ends after " +
                std::to_string(bytes.size()));
  }
  return true;
}

std::string FrameReader::Position() const {
  return "message " + std::to_string(number_) + " at byte " + std::to_string(offset_);
}

bool FrameReader::Stop(const std::string& reason) {
  error_ = reason;
  return false;
}
