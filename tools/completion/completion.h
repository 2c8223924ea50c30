// Scripts that complete command lines, one for each shell.
#pragma once

#include <string>
#include <vector>

#include "commands/command.h"

namespace qmsg {

// What is completed. A value is one of its choices, or by its type: a message (TYPE), anything that
// `qmsg describe` explains (NAME), a file (FILE); other types are not completed.
struct CompletionInput {
  const CommandLine& line;
  std::vector<std::string> types;  // both: short names, then full ones
  std::vector<std::string> names;
};

CompletionInput CompletionInputOf(const CommandLine& line);

std::string BashCompletion(const CompletionInput& input);
std::string ZshCompletion(const CompletionInput& input);
std::string FishCompletion(const CompletionInput& input);

}  // namespace qmsg
