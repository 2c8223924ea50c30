// The tool as a whole.

#include <google/protobuf/stubs/logging.h>

#include <exception>
#include <iostream>
#include <new>
#include <variant>

#include "commands/commands.h"
#include "io/output.h"
#include "parser.h"

namespace qmsg {
namespace {

// Runs the command, and prints errors on standard error.
ExitCode Run(const Command& command) {
  // The commands report in their own words what the runtime would log.
  google::protobuf::SetLogHandler(nullptr);
  try {
    const ExitCode code = command.run();
    Output::Standard().Flush();
    return code;
  } catch (const ClosedPipe&) {
    return ExitCode::kInputOutput;
  } catch (const Error& error) {
    std::cerr << "qmsg " << command.name << ": " << error.what() << '\n';
    return error.code();
  } catch (const std::bad_alloc&) {
    std::cerr << "qmsg " << command.name << ": not enough memory\n";
    return ExitCode::kInputOutput;
  }
}

ExitCode Run(int argc, const char* const* argv) {
  CommandLine line;
  line.tool = {"",
               "Reads, writes, checks and explains messages of PHP workers and job queues.",
               {{{"--version"}, "Display program version information and exit", VersionFlag()}},
               "Standard output carries data, standard error everything else.\n"
               "Exit status: 0 fine; 1 the data is bad, or differs; 2 wrong use; 3 input or "
               "output failed.",
               {},
               {}};
  line.commands = {TypesCommand(),          DescribeCommand(), DecodeCommand(), EncodeCommand(),
                   CheckCommand(),          GuessCommand(),    WireCommand(),   DiffCommand(),
                   StatsCommand(),          RequestsCommand(), TopCommand(),    DoctorCommand(),
                   CompletionCommand(line), ManCommand(line)};
  const Option help{{"-h", "--help"}, "Print this help message and exit", HelpFlag()};
  line.tool.options.insert(line.tool.options.begin(), help);
  for (Command& command : line.commands) {
    command.options.insert(command.options.begin(), help);
  }
  const std::variant<const Command*, ExitCode> parsed = Parse(line, argc, argv);
  const auto* code = std::get_if<ExitCode>(&parsed);
  return code != nullptr ? *code : Run(**std::get_if<const Command*>(&parsed));
}

}  // namespace
}  // namespace qmsg

int main(int argc, char** argv) try {
  return static_cast<int>(qmsg::Run(argc, argv));
} catch (const std::exception& error) {
  std::cerr << "qmsg: " << error.what() << '\n';
  return static_cast<int>(qmsg::ExitCode::kInputOutput);
}
