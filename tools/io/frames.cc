#include "io/frames.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace qmsg {
namespace {

constexpr std::size_t kStep = std::size_t{1024} * 1024;
constexpr int kMaxLengthBytes = 5;

}  // namespace

BrokenStream::BrokenStream(const std::string& input, std::uint64_t index, std::uint64_t offset,
                           const std::string& reason)
    : Error(ExitCode::kBadData, input + ": message " + std::to_string(index) + " at offset " +
                                    std::to_string(offset) + ": " + reason),
      index_(index),
      offset_(offset),
      reason_(reason) {}

bool FrameReader::Next(Frame& frame) {
  if (selection_.tail) {
    if (!has_selected_) {
      ReadTail();
    }
    if (next_of_tail_ < tail_.size()) {
      const Kept& kept = tail_[next_of_tail_++];
      frame = kept.frame;
      frame.length = kept.length;
      frame.bytes = kept.bytes;
      return true;
    }
    if (broken_) {
      throw BrokenStream(*std::exchange(broken_, std::nullopt));
    }
    return false;
  }
  const bool has_all =
      selection_.range ? next_index_ > selection_.range->last : selection_.offset && has_selected_;
  if (has_all) {
    return false;
  }
  do {
    if (!Read(frame)) {
      const bool wants_more =
          selection_.offset || (selection_.range && selection_.range->first > 0);
      if (!has_selected_ && wants_more) {
        RefuseSelection();
      }
      return false;
    }
  } while (!Selects(frame));
  has_selected_ = true;
  return true;
}

bool FrameReader::Selects(const Frame& frame) const {
  if (selection_.range) {
    return frame.index >= selection_.range->first && frame.index <= selection_.range->last;
  }
  return !selection_.offset || (*selection_.offset >= frame.offset - frame.length.size() &&
                                *selection_.offset < frame.offset + frame.bytes.size());
}

void FrameReader::ReadTail() {
  has_selected_ = true;
  try {
    for (Frame frame; Read(frame);) {
      tail_.push_back({frame, std::string(frame.length), std::string(frame.bytes)});
      if (tail_.size() > *selection_.tail) {
        tail_.pop_front();
      }
    }
  } catch (const BrokenStream& error) {
    broken_ = error;
  }
}

void FrameReader::RefuseSelection() const {
  const std::uint64_t count = next_index_ - 1;
  const std::string has = "': it has " + std::to_string(input_.position()) + " bytes in " +
                          std::to_string(count) + (count == 1 ? " message" : " messages");
  throw Error(ExitCode::kWrongUse,
              selection_.range ? "no message " + std::to_string(selection_.range->first) + " in '" +
                                     input_.name() + has + ", counted from 0"
                               : "no message at offset " + std::to_string(*selection_.offset) +
                                     " in '" + input_.name() + has);
}

bool FrameReader::Read(Frame& frame) {
  frame.index = next_index_++;
  if (framing_ == Framing::kNone) {
    if (frame.index > 0) {
      return false;
    }
    bytes_ = ReadAll(input_);
    frame.offset = 0;
    frame.length = {};
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
