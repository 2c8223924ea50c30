#include "log_capture.h"

namespace contract {
namespace {

std::vector<LogCapture::Line>& Captured() {
  static std::vector<LogCapture::Line> lines;
  return lines;
}

void Capture(google::protobuf::LogLevel level, const char* /*file*/, int /*line*/,
             const std::string& text) {
  Captured().push_back({level, text});
}

}  // namespace

LogCapture::LogCapture() : previous_(google::protobuf::SetLogHandler(Capture)) {
  Captured().clear();
}

LogCapture::~LogCapture() { google::protobuf::SetLogHandler(previous_); }

const std::vector<LogCapture::Line>& LogCapture::lines() const { return Captured(); }

}  // namespace contract
