#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

// Where records go. Nothing here waits: what is not taken at once is dropped and counted.
//
// file:PATH  The file is opened for each write, so that it can be rotated. Workers share it:
// O_APPEND
//            and a single write() keep the records of a write together. A write that a full disk
//            cut short is taken back.
// unix:PATH  A stream or seqpacket socket. A packet holds whole records. The process connects again
//            at most once a second.
class Output {
 public:
  // `records` are `count` records, each behind its length.
  void Write(std::string_view target, std::string_view records, std::uint32_t count);

  // How many records were dropped since it was asked last.
  std::uint64_t TakeDropped();

  // A forked process has a connection of its own.
  void Forked();

 private:
  using Clock = std::chrono::steady_clock;

  bool Connect(std::string_view path);
  void Disconnect();
  std::uint32_t SendPackets(std::string_view records);
  bool SendToStream(std::string_view records);
  bool SendPending();

  int socket_ = -1;
  bool is_stream_ = false;
  std::string peer_;
  std::string pending_;  // the rest of a record that a stream took in part
  Clock::time_point next_attempt_;
  std::uint64_t dropped_ = 0;
};
