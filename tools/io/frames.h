// Takes a stream apart into the bytes of its messages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "error.h"
#include "io/input.h"

namespace qmsg {

// A place behind which a stream cannot be read.
class BrokenStream : public Error {
 public:
  BrokenStream(const std::string& input, std::uint64_t index, std::uint64_t offset,
               const std::string& reason);

  std::uint64_t offset() const { return offset_; }
  // Without the name of the input and the place.
  const std::string& reason() const { return reason_; }

 private:
  std::uint64_t offset_;
  std::string reason_;
};

// How messages follow one another in an input.
enum class Framing {
  kNone,       // one message is all of it
  kDelimited,  // each behind its length, a varint
  kAny,        // as kDelimited, each being a google.protobuf.Any, which names the type within
};

// The bytes of one message.
struct Frame {
  std::uint64_t index = 0;   // in its input, from 0
  std::uint64_t offset = 0;  // of its first byte in its input, behind the length
  std::string_view length;   // its length as it stands in front of it; both until the next is read
  std::string_view bytes;
};

class FrameReader {
 public:
  FrameReader(Input& input, Framing framing) : input_(input), framing_(framing) {}

  // Reads the next frame, in memory of its size. Returns false at the end of the input; throws
  // BrokenStream if that comes inside of a frame, or if there is no length: then nothing behind it
  // can be read.
  bool Next(Frame& frame);

  // After Next has thrown since there is no whole frame: what it had read of it, beginning with its
  // length. Empty if it was the input that failed.
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
