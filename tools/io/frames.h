// Takes a stream apart into the bytes of its messages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "io/input.h"

namespace qmsg {

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
  std::string_view bytes;    // until the next one is read
};

class FrameReader {
 public:
  FrameReader(Input& input, Framing framing) : input_(input), framing_(framing) {}

  // Reads the next frame, in memory of its size. Returns false at the end of the input; throws
  // Error if that comes inside of a frame, or if there is no length: then nothing behind it can be
  // read.
  bool Next(Frame& frame);

 private:
  bool ReadLength(std::uint64_t& length);
  [[noreturn]] void Refuse(std::uint64_t offset, const std::string& reason) const;

  Input& input_;
  Framing framing_;
  std::uint64_t next_index_ = 0;
  std::string bytes_;
};

}  // namespace qmsg
