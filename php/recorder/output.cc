#include "recorder/output.h"

#include <fcntl.h>
#include <google/protobuf/io/coded_stream.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace {

constexpr std::string_view kFile = "file:";
constexpr std::string_view kUnix = "unix:";

// The size of the record at the begin of `records`, with its length.
std::size_t RecordSize(std::string_view records) {
  google::protobuf::io::CodedInputStream input(
      reinterpret_cast<const std::uint8_t*>(records.data()), static_cast<int>(records.size()));
  std::uint32_t length = 0;
  input.ReadVarint32(&length);
  return static_cast<std::size_t>(input.CurrentPosition()) + length;
}

bool AppendToFile(const char* path, std::string_view records) {
  // A FIFO or a device in its place would let the worker wait without O_NONBLOCK.
  const int file =
      open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600);
  if (file < 0) {
    return false;
  }
  const ssize_t written = write(file, records.data(), records.size());
  const bool is_whole = written == static_cast<ssize_t>(records.size());
  if (written > 0 && !is_whole) {
    // Another process that appends at this moment keeps its records: the part stays then.
    const off_t end = lseek(file, 0, SEEK_CUR);
    struct stat now {};
    if (end >= written && fstat(file, &now) == 0 && now.st_size == end) {
      [[maybe_unused]] const int result = ftruncate(file, end - written);
    }
  }
  close(file);
  return is_whole;
}

}  // namespace

void Output::Write(std::string_view target, std::string_view records, std::uint32_t count) {
  if (target.rfind(kFile, 0) == 0) {
    const std::string path(target.substr(kFile.size()));
    dropped_ += AppendToFile(path.c_str(), records) ? 0 : count;
  } else if (!Connect(target.substr(kUnix.size()))) {
    dropped_ += count;
  } else if (is_stream_) {
    dropped_ += SendToStream(records) ? 0 : count;
  } else {
    dropped_ += SendPackets(records);
  }
}

std::uint64_t Output::TakeDropped() { return std::exchange(dropped_, 0); }

void Output::Forked() {
  Disconnect();
  dropped_ = 0;
}

bool Output::Connect(std::string_view path) {
  if (socket_ >= 0 && path == peer_) {
    return true;
  }
  if (path != peer_) {
    Disconnect();
    peer_ = path;
  }
  const auto now = Clock::now();
  sockaddr_un address{};
  if (now < next_attempt_ || path.size() >= sizeof(address.sun_path)) {
    return false;
  }
  next_attempt_ = now + std::chrono::seconds(1);
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.data(), path.size());
  for (const int type : {SOCK_SEQPACKET, SOCK_STREAM}) {
    const int candidate = socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (candidate < 0) {
      return false;
    }
    if (connect(candidate, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
      socket_ = candidate;
      is_stream_ = type == SOCK_STREAM;
      return true;
    }
    const bool is_other_type = errno == EPROTOTYPE;
    close(candidate);
    if (!is_other_type) {
      return false;
    }
  }
  return false;
}

void Output::Disconnect() {
  if (socket_ >= 0) {
    close(socket_);
  }
  socket_ = -1;
  pending_.clear();
  next_attempt_ = {};
}

// Returns how many records were dropped.
std::uint32_t Output::SendPackets(std::string_view records) {
  constexpr std::size_t kPacket = 64UL * 1024;
  std::uint32_t dropped = 0;
  while (!records.empty()) {
    std::size_t size = RecordSize(records);
    std::uint32_t count = 1;
    while (size < records.size()) {
      const std::size_t next = RecordSize(records.substr(size));
      if (size + next > kPacket) {
        break;
      }
      size += next;
      ++count;
    }
    const bool is_sent =
        socket_ >= 0 && send(socket_, records.data(), size, MSG_DONTWAIT | MSG_NOSIGNAL) ==
                            static_cast<ssize_t>(size);
    if (!is_sent) {
      dropped += count;
      if (errno != EAGAIN && errno != EMSGSIZE && errno != ENOBUFS && socket_ >= 0) {
        const auto attempt = next_attempt_;
        Disconnect();
        next_attempt_ = attempt;
      }
    }
    records.remove_prefix(size);
  }
  return dropped;
}

bool Output::SendPending() {
  const ssize_t sent = send(socket_, pending_.data(), pending_.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent < 0) {
    if (errno != EAGAIN && errno != ENOBUFS) {
      const auto attempt = next_attempt_;
      Disconnect();
      next_attempt_ = attempt;
    }
    return false;
  }
  pending_.erase(0, static_cast<std::size_t>(sent));
  return pending_.empty();
}

bool Output::SendToStream(std::string_view records) {
  // The peer has begun to read a record, so its rest goes first.
  if (!pending_.empty() && !SendPending()) {
    return false;
  }
  pending_ = records;
  SendPending();
  if (socket_ < 0) {
    return false;
  }
  if (pending_.size() == records.size()) {  // nothing was taken
    pending_.clear();
    return false;
  }
  return true;
}
