// Reads the command line with CLI11. Only parser.cc includes it: the header takes seconds to
// compile.
#pragma once

#include <variant>

#include "commands/command.h"

namespace qmsg {

// Sets what the options of the command line say. Returns the command to run, or, after --help,
// --version or an error has been printed, how the tool ends.
std::variant<const Command*, ExitCode> Parse(const CommandLine& line, int argc,
                                             const char* const* argv);

}  // namespace qmsg
