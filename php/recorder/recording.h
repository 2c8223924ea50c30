#pragma once

#include <google/protobuf/message.h>
#include <qmsg/quorphp.pb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "recorder/output.h"
#include "recorder/redaction.h"
#include "recorder/settings.h"
#include "recorder/stack.h"
#include "recorder/values.h"

using Clock = std::chrono::steady_clock;

// What was not recorded, or not as a whole. The request's Storage record "qmsg" says how often.
enum class Loss {
  kStatements,  // beyond max_request
  kTransactions,
  kConnections,
  kErrors,
  kEvents,
  kRecords,     // beyond max_request, of any other kind
  kSuppressed,  // errors that error_reporting() or @ leaves out
  kCaught,      // exceptions that were caught, or that an exception handler took
  kCutTexts,    // statements, messages and bodies cut at max_text
  kBinary,      // bodies that are not text
  kFunctions,   // calls beyond the deepest frame or the most functions
  kOutput,      // records that the output did not take, since the last report of this process
  kCount,
};

// The records of the current request.
class Recording {
 public:
  bool is_on() const { return settings_.groups != 0; }
  bool Records(Group group) const { return (settings_.groups & group) != 0; }

  void Begin();
  void End();
  // Drops what was recorded, and records nothing more until the next request.
  void Abandon();
  // In a forked process, the request goes on as a request of its own.
  void Forked();

  const Settings& settings() const { return settings_; }
  const std::string& queue_id() const { return queue_id_; }
  Clock::time_point start() const { return start_; }
  Redaction& redaction() { return redaction_; }
  // For arguments, and for whole texts.
  const ValueWriter& arguments() const { return arguments_; }
  const ValueWriter& texts() const { return texts_; }
  StackOptions stack() const {
    return {static_cast<std::size_t>(settings_.stack_depth), settings_.arguments};
  }

  // Whether the request has recorded as many statements, errors and events as it may. A quarter is
  // left for what is recorded once.
  bool is_full() const { return recorded_ >= settings_.max_request / 4 * 3; }

  // Appends a record. Counts `loss` instead if the request has recorded too much.
  void Append(const google::protobuf::Message& record, Loss loss);
  // The same for the bytes of a message of that type, which holds `count` elements.
  void Append(std::string_view type, std::string_view bytes, Loss loss, std::uint64_t count);

  void Count(Loss loss, std::uint64_t count = 1) {
    losses_.at(static_cast<std::size_t>(loss)) += count;
  }

  // A text as Text() of texts() makes it, with a count of what was cut.
  std::string CutText(std::string_view bytes);

 private:
  bool MayRecord(std::size_t size, Loss loss);
  void Recorded(std::size_t size);
  void Send();
  void AppendLosses();
  quor::protobuf::QuorPHP::RInitData DescribeBegin() const;

  Settings settings_;
  std::string queue_id_;
  Clock::time_point start_;
  Redaction redaction_;
  ValueWriter arguments_{redaction_, {}};
  ValueWriter texts_{redaction_, {}};
  std::string records_;
  std::uint32_t count_ = 0;
  std::int64_t recorded_ = 0;  // bytes
  std::array<std::uint64_t, static_cast<std::size_t>(Loss::kCount)> losses_{};
  Output output_;
};

extern Recording recording;

// Builds the descriptors of the records. Forked workers share what a server has built.
void BuildDescriptors();

google::protobuf::Duration ToDuration(Clock::duration time);
google::protobuf::Timestamp Now();

// PHP is C: no exception may reach it. What fails ends the recording of the request, and PHP's log
// gets a line. No action may raise a PHP error, which jumps over C++ without running destructors.
template <typename Action>
void Guarded(Action action) noexcept;

void LogFailure(const char* what) noexcept;

template <typename Action>
void Guarded(Action action) noexcept {
  try {
    action();
  } catch (const std::exception& error) {
    LogFailure(error.what());
  }
}
