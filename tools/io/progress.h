// Shows the progress of reading a long input.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "io/input.h"

namespace qmsg {

// One line on standard error, if that is a terminal: "capture.bin: 42 %, 1.2 of 2.9 GB, 310 MB/s".
// Appears after a second, and disappears at the end.
class Progress {
 public:
  explicit Progress(const Input& input, bool wanted);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Call often; the line is updated a few times a second.
  void Update();

  // Removes the line, so that something else can be printed.
  void Hide();

 private:
  using Clock = std::chrono::steady_clock;

  void Show(Clock::time_point now);

  const Input& input_;
  bool wanted_;
  bool shown_ = false;
  unsigned calls_ = 0;
  Clock::time_point begin_;
  Clock::time_point next_;
};

}  // namespace qmsg
