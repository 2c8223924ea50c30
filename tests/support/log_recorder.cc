#include "log_recorder.h"

#include <utility>

namespace {

// The runtime calls a plain function, which has to find the lines.
std::vector<LogRecorder::Line>& Recorded() {
  static std::vector<LogRecorder::Line> lines;
  return lines;
}

void Record(google::protobuf::LogLevel level, const char* /*file*/, int /*line*/,
            const std::string& text) {
  Recorded().push_back({level, text});
}

}  // namespace

LogRecorder::LogRecorder() : previous_(google::protobuf::SetLogHandler(&Record)) {
  Recorded().clear();
}

LogRecorder::~LogRecorder() { google::protobuf::SetLogHandler(previous_); }

const std::vector<LogRecorder::Line>& LogRecorder::lines() const { return Recorded(); }

std::vector<LogRecorder::Line> LogRecorder::Take() { return std::exchange(Recorded(), {}); }
