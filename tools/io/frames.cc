#include "io/frames.h"

#include <algorithm>
#include <climits>

namespace qmsg {
namespace {

constexpr std::size_t kStep = std::size_t{1024} * 1024;
constexpr int kMaxLengthBytes = 5;

}  // namespace

BrokenStream::BrokenStream(const std::string& input, std::uint64_t index, std::uint64_t offset,
                           const std::string& reason)
    : Error(ExitCode::kBadData, input + ": message " + std::to_string(index) + " at offset " +
                                    std::to_string(offset) + ": " + reason),
      offset_(offset),
      reason_(reason) {}

bool FrameReader::Next(Frame& frame) {
  frame.index = next_index_++;
  if (framing_ == Framing::kNone) {
    if (frame.index > 0) {
      return false;
    }
    bytes_ = ReadAll(input_);
    frame.offset = 0;
    frame.bytes = bytes_;
    return true;
  }
  std::uint64_t length = 0;
  if (!ReadLength(length)) {
    return false;
  }
  frame.offset = input_.position();
  // In steps: the length may exceed the input.
  while (size_ < length) {
    const std::size_t step = std::min(kStep, static_cast<std::size_t>(length) - size_);
    if (bytes_.size() < size_ + step) {
      bytes_.resize(size_ + step);
    }
    const std::size_t read = input_.Read(bytes_.data() + size_, step);
    size_ += read;
    if (read < step) {
      Refuse(frame.offset, "its length is " + std::to_string(length) +
                               " bytes, but the input has " + "only " + std::to_string(size_) +
                               " left");
    }
  }
  frame.length = length_bytes_;
  frame.bytes = std::string_view(bytes_).substr(0, size_);
  return true;
}

// Returns false at the end of the input.
bool FrameReader::ReadLength(std::uint64_t& length) {
  const std::uint64_t offset = input_.position();
  length_bytes_.clear();
  size_ = 0;
  for (int i = 0; i < kMaxLengthBytes; ++i) {
    char byte = 0;
    if (input_.Read(&byte, 1) == 0) {
      if (i == 0) {
        return false;
      }
      Refuse(offset, "the input ends inside its length");
    }
    length_bytes_ += byte;
    length |= static_cast<std::uint64_t>(byte & 0x7f) << (7 * i);
    if ((byte & 0x80) == 0) {
      if (length > INT_MAX) {
        break;
      }
      return true;
    }
  }
  Refuse(offset, "not a valid message length (at most 2 GiB); is the framing right?");
}

std::string FrameReader::Unfinished() const {
  return refused_ ? length_bytes_ + bytes_.substr(0, size_) : "";
}

void FrameReader::Refuse(std::uint64_t offset, const std::string& reason) {
  refused_ = true;
  throw BrokenStream(input_.name(), next_index_ - 1, offset, reason);
}

}  // namespace qmsg
