// The command line as a whole.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <vector>

#include "commands/commands.h"

namespace qmsg {

class Application {
 public:
  Application();

  // Reads the command line, does what it asks for, tells errors on standard error.
  ExitCode Run(int argc, const char* const* argv);

 private:
  CLI::App app_;
  std::vector<Command> commands_;
};

}  // namespace qmsg
