// Exit codes and errors.
#pragma once

#include <stdexcept>
#include <string>

namespace qmsg {

// What the process returns.
enum class ExitCode {
  kFine = 0,
  kBadData = 1,      // the data is bad, or differs
  kWrongUse = 2,     // the command line is wrong
  kInputOutput = 3,  // something could not be opened, read or written
};

// The problem, its place and the remedy, as one line without a full stop.
class Error : public std::runtime_error {
 public:
  Error(ExitCode code, const std::string& what) : std::runtime_error(what), code_(code) {}

  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace qmsg
