// Scripts that complete command lines, one for each shell.
#pragma once

#include <string>
#include <vector>

#include "commands/command_line.h"

namespace CLI {
class App;
}

namespace qmsg {

// What is completed. A value is one of its choices, or by its type: a message (TYPE), anything that
// `qmsg describe` explains (NAME), a file (FILE); other types are not completed.
struct CompletionInput {
  CommandFacts tool;
  std::vector<CommandFacts> commands;
  std::vector<std::string> types;  // both: short names, then full ones
  std::vector<std::string> names;
};

CompletionInput CompletionInputOf(const CLI::App& root);

std::string BashCompletion(const CompletionInput& input);
std::string ZshCompletion(const CompletionInput& input);
std::string FishCompletion(const CompletionInput& input);

// `words` with `separator` between them.
std::string Join(const std::vector<std::string>& words, const std::string& separator);

}  // namespace qmsg
