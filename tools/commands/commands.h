// The commands, each in a file of its own.
#pragma once

#include "commands/command.h"

namespace qmsg {

Command TypesCommand();
Command DescribeCommand();
Command DecodeCommand();
Command EncodeCommand();
Command CheckCommand();
Command GuessCommand();
Command WireCommand();
Command DiffCommand();
Command StatsCommand();
Command RequestsCommand();
Command TopCommand();
Command DoctorCommand();
// These two write what `line` says when they run.
Command CompletionCommand(const CommandLine& line);
Command ManCommand(const CommandLine& line);

}  // namespace qmsg
