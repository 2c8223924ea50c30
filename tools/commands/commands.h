// The subcommands. Each adds itself and its options to the application, and returns what it does
// once the command line has been read. That throws Error.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "error.h"

namespace qmsg {

using Action = std::function<ExitCode()>;

struct Command {
  const CLI::App* app;
  Action run;
};

Command AddTypes(CLI::App& app);
Command AddDescribe(CLI::App& app);
Command AddDecode(CLI::App& app);
Command AddEncode(CLI::App& app);
Command AddCheck(CLI::App& app);
Command AddGuess(CLI::App& app);
Command AddWire(CLI::App& app);
Command AddDiff(CLI::App& app);
Command AddStats(CLI::App& app);
Command AddDoctor(CLI::App& app);
Command AddCompletion(CLI::App& app);
Command AddMan(CLI::App& app);

}  // namespace qmsg
