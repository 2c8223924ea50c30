#include "io/frames.h"

#include <algorithm>
#include <climits>

#include "error.h"

namespace qmsg {
namespace {

constexpr std::size_t kStep = 1024 * 1024;
constexpr int kMaxLengthBytes = 5;

}  // namespace

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
  // In steps, since a length may promise more than there is.
  std::size_t size = 0;
  while (size < length) {
    const std::size_t step = std::min(kStep, static_cast<std::size_t>(length) - size);
    if (bytes_.size() < size + step) {
      bytes_.resize(size + step);
    }
    const std::size_t read = input_.Read(bytes_.data() + size, step);
    size += read;
    if (read < step) {
      Refuse(frame.offset, "its length is " + std::to_string(length) +
                               " bytes, but the input has " + "only " + std::to_string(size) +
                               " left");
    }
  }
  frame.bytes = std::string_view(bytes_).substr(0, size);
  return true;
}

// Returns false at the end of the input.
bool FrameReader::ReadLength(std::uint64_t& length) {
  const std::uint64_t offset = input_.position();
  for (int i = 0; i < kMaxLengthBytes; ++i) {
    char byte = 0;
    if (input_.Read(&byte, 1) == 0) {
      if (i == 0) {
        return false;
      }
      Refuse(offset, "the input ends inside of its length");
    }
    length |= static_cast<std::uint64_t>(byte & 0x7f) << (7 * i);
    if ((byte & 0x80) == 0) {
      if (length > INT_MAX) {
        break;
      }
      return true;
    }
  }
  Refuse(offset, "there is no length of a message, which is at most 2 GiB; is the framing right?");
}

void FrameReader::Refuse(std::uint64_t offset, const std::string& reason) const {
  throw Error(ExitCode::kBadData, input_.name() + ": message " + std::to_string(next_index_ - 1) +
                                      " at offset " + std::to_string(offset) + ": " + reason);
}

}  // namespace qmsg
