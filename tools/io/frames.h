// Splits a stream into the bytes of its messages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "error.h"
#include "io/input.h"

namespace qmsg {

// A place after which a stream cannot be read.
class BrokenStream : public Error {
 public:
  BrokenStream(const std::string& input, std::uint64_t index, std::uint64_t offset,
               const std::string& reason);

  std::uint64_t offset() const { return offset_; }
  // The error without the name of the input and the place.
  const std::string& reason() const { return reason_; }

 private:
  std::uint64_t offset_;
  std::string reason_;
};

// How an input separates messages.
enum class Framing {
  kNone,       // the input is one message
  kDelimited,  // a varint with its length precedes each
  kAny,        // as kDelimited, each in a google.protobuf.Any, which names its type
};

// The bytes of one message.
struct Frame {
  std::uint64_t index = 0;   // in its input, from 0
  std::uint64_t offset = 0;  // of its first byte in its input, after the length
  std::string_view
      length;  // the bytes of its length; both views are valid until the next frame is read
  std::string_view bytes;
};

class FrameReader {
 public:
  FrameReader(Input& input, Framing framing) : input_(input), framing_(framing) {}

  // Reads the next frame, in memory of its size. Returns false at the end of the input. Throws
  // BrokenStream if the input ends inside a frame, or if a length is invalid.
  bool Next(Frame& frame);

  // After Next has thrown BrokenStream: the bytes that it had read of the frame, from its length
  // on. Empty if reading the input failed.
  std::string Unfinished() const;

 private:
  bool ReadLength(std::uint64_t& length);
  [[noreturn]] void Refuse(std::uint64_t offset, const std::string& reason);

  Input& input_;
  Framing framing_;
  std::uint64_t next_index_ = 0;
  std::string length_bytes_;
  std::string bytes_;
  std::size_t size_ = 0;  // of what is in bytes_
  bool refused_ = false;
};

}  // namespace qmsg
