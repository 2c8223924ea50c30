// The code that docs/performance-guide.md shows. bench_guide measures it, tests/docs test it.

#ifndef BENCH_GUIDE_H_
#define BENCH_GUIDE_H_

#include <google/protobuf/arena.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/message_lite.h>
#include <qmsg/tarq.pb.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace guide {

// Reads messages on an arena that reuses its first block of `first_block` bytes.
template <class M>
class ArenaReader {
 public:
  explicit ArenaReader(std::size_t first_block)
      : block_(new char[first_block]), arena_(Options(block_.get(), first_block)) {}

  // The message, which the next call destroys; null for refused bytes.
  M* Read(const std::string& bytes) {
    arena_.Reset();  // frees all but the first block
    M* message = google::protobuf::Arena::CreateMessage<M>(&arena_);
    return message->ParseFromString(bytes) ? message : nullptr;
  }

 private:
  static google::protobuf::ArenaOptions Options(char* block, std::size_t size) {
    google::protobuf::ArenaOptions options;
    options.initial_block = block;
    options.initial_block_size = size;
    options.max_block_size = 65536;  // of the blocks after the first
    return options;
  }

  std::unique_ptr<char[]> block_;
  google::protobuf::Arena arena_;
};

// Reads into one message on the heap. Starts a new one before it has read more than `most` bytes.
template <class M>
class ReusingReader {
 public:
  explicit ReusingReader(std::size_t most) : most_(most) {}

  // The message, which the next call changes; null for refused bytes.
  M* Read(const std::string& bytes) {
    read_ += bytes.size();
    if (read_ > most_) {
      message_ = M();
      read_ = bytes.size();
    }
    return message_.ParseFromString(bytes) ? &message_ : nullptr;
  }

 private:
  std::size_t most_;
  std::size_t read_ = 0;
  M message_;
};

// Writes each message after its length, into a buffer that only grows.
class FrameWriter {
 public:
  // The bytes, which the next call overwrites; none for a message of 2 GiB or more.
  std::string_view Write(const google::protobuf::MessageLite& message) {
    constexpr std::size_t kMaxLengthBytes = 5;
    const std::size_t size = message.ByteSizeLong();  // once: it is kept in the messages
    if (size > INT_MAX) {
      return {};
    }
    if (room_.size() < kMaxLengthBytes + size) {
      room_.resize(kMaxLengthBytes + size);
    }
    auto* const begin = reinterpret_cast<std::uint8_t*>(room_.data());
    std::uint8_t* end = google::protobuf::io::CodedOutputStream::WriteVarint32ToArray(
        static_cast<std::uint32_t>(size), begin);
    end = message.SerializeWithCachedSizesToArray(end);
    return {room_.data(), static_cast<std::size_t>(end - begin)};
  }

 private:
  std::string room_;
};

// Moves statements. Both lists are on the heap or on one arena, otherwise each statement is copied.
inline void MoveQueries(quor::protobuf::Tarq::SqlQueries& from,
                        quor::protobuf::Tarq::SqlQueries& to) {
  to.mutable_queries()->Reserve(to.queries_size() + from.queries_size());
  for (auto& query : *from.mutable_queries()) {
    *to.add_queries() = std::move(query);
  }
  from.clear_queries();
}

}  // namespace guide

#endif  // BENCH_GUIDE_H_
