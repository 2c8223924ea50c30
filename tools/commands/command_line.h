// What the command line takes, for those who explain it: the man page and the completions.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace qmsg {

struct OptionFacts {
  std::vector<std::string> names;    // "-o", "--option"; an argument has none
  std::string argument;              // the name of an argument
  std::string type;                  // what its value is: "FILE", "TYPE"; empty for a flag
  std::vector<std::string> choices;  // the values, if it takes no others
  std::string default_value;         // empty if there is none
  std::string description;
  bool required = false;
  bool repeated = false;  // takes several values
};

struct CommandFacts {
  std::string name;  // empty for the tool itself
  std::string description;
  std::vector<OptionFacts> options;
  std::vector<OptionFacts> arguments;  // in their order
  std::string notes;                   // paragraphs, of the lines of the help behind the options
  std::vector<std::string> examples;   // command lines
};

// The tool itself, or one of its commands.
CommandFacts FactsOf(const CLI::App& app);

// All commands, in the order of the help text.
std::vector<CommandFacts> CommandsOf(const CLI::App& root);

}  // namespace qmsg
