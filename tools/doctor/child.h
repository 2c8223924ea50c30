// Runs an untrusted program, and always returns.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace qmsg::doctor {

struct ChildResult {
  int start_error = 0;     // errno if the program could not be started; then the rest is invalid
  bool timed_out = false;  // it was killed after the time limit
  int signal = 0;          // that killed it; 0: none
  int status = 0;          // exit status
  std::string output;      // standard output, at most 4 MiB
  std::string errors;      // standard error, at most 64 KiB
  std::string report;      // from kReportDescriptor, at most 4 MiB
};

// Open for writing in the child, beside standard output and standard error.
constexpr int kReportDescriptor = 3;

// Runs the command from PATH with an empty standard input and without core dumps, in a process
// group that is killed at the end. Throws Error when no process or pipe can be created.
ChildResult RunChild(const std::vector<std::string>& command, std::chrono::milliseconds limit);

// How it ended, as the rest of a sentence: "was killed by signal 6 (Aborted)".
std::string HowItEnded(const ChildResult& result, std::chrono::milliseconds limit);

}  // namespace qmsg::doctor
