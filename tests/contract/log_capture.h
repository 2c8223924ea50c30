// What the runtime logs while the object lives.
#pragma once

#include <google/protobuf/stubs/logging.h>

#include <string>
#include <vector>

namespace contract {

class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  struct Line {
    google::protobuf::LogLevel level;
    std::string text;
  };
  const std::vector<Line>& lines() const;

 private:
  google::protobuf::LogHandler* previous_;
};

}  // namespace contract
