// Sums the records of each request from standard input, which may be damaged or hostile.

#include <unistd.h>

#include <iostream>
#include <string>

#include "frame_reader.h"
#include "report.h"

namespace {

constexpr const char* kUsage =
    "usage: consumer <STREAM\n"
    "Sums the records of each request. STREAM is a sequence of google.protobuf.Any, each after "
    "its\n"
    "length.\n";

// Memory for parsing stays below 100 bytes for each byte of a message.
constexpr int kMaxMessageSize = 1 << 20;
constexpr std::size_t kMaxRequests = 10000;

void Complain(const FrameReader& frames, const std::string& reason) {
  std::cerr << "consumer: " << frames.Position() << ' ' << reason << '\n';
}

}  // namespace

int main(int argc, char** /*argv*/) {
  if (argc != 1) {
    std::cerr << kUsage;
    return 2;
  }
  FrameReader frames(STDIN_FILENO, kMaxMessageSize);
  Report report(kMaxRequests);
  bool whole = true;
  for (std::string bytes; frames.Next(bytes);) {
    const std::string reason = report.Add(bytes);
    if (!reason.empty()) {  // the frame is complete, so the next one can be read
      Complain(frames, reason + ": left out");
      whole = false;
    }
  }
  if (!frames.error().empty()) {
    Complain(frames, frames.error() + ": what follows is lost");
    whole = false;
  }
  report.Print(std::cout);
  if (!std::cout.flush()) {
    std::cerr << "consumer: the report could not be written\n";
    return 1;
  }
  return whole ? 0 : 1;
}
