// Splits a stream into the bytes of its messages.
#pragma once

#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
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

  std::uint64_t index() const { return index_; }
  std::uint64_t offset() const { return offset_; }
  // The error without the name of the input and the place.
  const std::string& reason() const { return reason_; }

 private:
  std::uint64_t index_;
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

// Which messages of an input are read. At most one of these is set.
struct Selection {
  struct Range {
    std::uint64_t first = 0;
    std::uint64_t last = std::numeric_limits<std::uint64_t>::max();
  };
  std::optional<Range> range;           // of indexes
  std::optional<std::uint64_t> offset;  // of a byte in the message, or in its length
  std::optional<std::uint64_t> tail;    // this many at the end
};

class FrameReader {
 public:
  FrameReader(Input& input, Framing framing, Selection selection = {})
      : input_(input), framing_(framing), selection_(selection) {}

  // Reads the next selected frame, in memory of its size; for a tail, in that of all its frames.
  // Returns false at the end. Throws BrokenStream if the input ends inside a frame, or if a length
  // is invalid; Error if the input has no message that was asked for.
  bool Next(Frame& frame);

  // After Next has thrown BrokenStream: the bytes that it had read of the frame, from its length
  // on. Empty if reading the input failed.
  std::string Unfinished() const;

 private:
  struct Kept {
    Frame frame;
    std::string length;
    std::string bytes;
  };

  bool Read(Frame& frame);
  bool Selects(const Frame& frame) const;
  void ReadTail();
  [[noreturn]] void RefuseSelection() const;
  bool ReadLength(std::uint64_t& length);
  [[noreturn]] void Refuse(std::uint64_t offset, const std::string& reason);

  Input& input_;
  Framing framing_;
  Selection selection_;
  bool has_selected_ = false;
  std::deque<Kept> tail_;
  std::size_t next_of_tail_ = 0;
  std::optional<BrokenStream> broken_;  // behind the tail
  std::uint64_t next_index_ = 0;
  std::string length_bytes_;
  std::string bytes_;
  std::size_t size_ = 0;  // of what is in bytes_
  bool refused_ = false;
};

}  // namespace qmsg
