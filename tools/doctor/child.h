// Runs a program that may do anything, and comes back in any case.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace qmsg::doctor {

struct ChildResult {
  int start_error = 0;     // errno, if the program could not be started; then nothing else counts
  bool timed_out = false;  // it was killed for that
  int signal = 0;          // that ended it; 0: none
  int status = 0;          // that it ended with
  std::string output;      // of standard output, of at most 4 MiB
  std::string errors;      // of standard error, of at most 64 KiB
  std::string report;      // of descriptor kReportDescriptor, of at most 4 MiB
};

// Open for writing in the child, beside standard output and standard error.
constexpr int kReportDescriptor = 3;

// Runs the command, looked for in PATH, with an empty standard input and without core dumps, as a
// group of processes that is killed at the end. Throws Error when the system has no process or pipe
// left.
ChildResult RunChild(const std::vector<std::string>& command, std::chrono::milliseconds limit);

// How it ended, as the rest of a sentence: "was ended by signal 6 (Aborted)".
std::string HowItEnded(const ChildResult& result, std::chrono::milliseconds limit);

}  // namespace qmsg::doctor
