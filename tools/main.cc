// The command line as a whole.

#include <google/protobuf/stubs/logging.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <vector>

#include "commands/commands.h"
#include "help.h"
#include "io/output.h"

namespace qmsg {
namespace {

class Application {
 public:
  Application();

  // Reads the command line, does what it asks for, tells errors on standard error.
  ExitCode Run(int argc, const char* const* argv);

 private:
  CLI::App app_;
  std::vector<Command> commands_;
};

Application::Application()
    : app_("Reads, writes, checks and explains messages of PHP workers and job queues.", "qmsg") {
  app_.set_version_flag("--version", "qmsg " QMSG_VERSION);
  app_.require_subcommand(1);
  app_.formatter(std::make_shared<HelpFormatter>());
  app_.footer(
      "Standard output carries data, standard error everything else.\n"
      "Exit status: 0 fine; 1 the data is bad, or differs; 2 wrong use; 3 input or output failed.");
  commands_ = {AddTypes(app_), AddDescribe(app_), AddDecode(app_),     AddEncode(app_),
               AddCheck(app_), AddGuess(app_),    AddWire(app_),       AddDiff(app_),
               AddStats(app_), AddDoctor(app_),   AddCompletion(app_), AddMan(app_)};
}

ExitCode Application::Run(int argc, const char* const* argv) {
  try {
    app_.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app_.exit(error) == 0 ? ExitCode::kFine : ExitCode::kWrongUse;
  }
  // What the runtime would log, the commands tell in their own words.
  google::protobuf::SetLogHandler(nullptr);
  const CLI::App* chosen = app_.get_subcommands().front();
  try {
    for (const Command& command : commands_) {
      if (command.app == chosen) {
        const ExitCode code = command.run();
        Output::Standard().Flush();
        return code;
      }
    }
  } catch (const ClosedPipe&) {
    return ExitCode::kInputOutput;
  } catch (const Error& error) {
    std::cerr << "qmsg " << chosen->get_name() << ": " << error.what() << '\n';
    return error.code();
  } catch (const std::bad_alloc&) {
    std::cerr << "qmsg " << chosen->get_name() << ": not enough memory\n";
    return ExitCode::kInputOutput;
  }
  return ExitCode::kWrongUse;
}

}  // namespace
}  // namespace qmsg

int main(int argc, char** argv) { return static_cast<int>(qmsg::Application().Run(argc, argv)); }
