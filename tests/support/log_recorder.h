// What the runtime logs while a recorder lives.
#pragma once

#include <google/protobuf/stubs/logging.h>

#include <string>
#include <vector>

class LogRecorder {
 public:
  struct Line {
    google::protobuf::LogLevel level;
    std::string text;
  };

  LogRecorder();
  ~LogRecorder();
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  const std::vector<Line>& lines() const;

  // The lines since the last call.
  std::vector<Line> Take();

 private:
  google::protobuf::LogHandler* previous_;
};
