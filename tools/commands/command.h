// The commands and their options as data: the parser reads a command line by it, and the help, the
// manual page and the completions describe it.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "error.h"

namespace qmsg {

// Options that print something and end the tool.
struct HelpFlag {};
struct VersionFlag {};

struct BoundedNumber {
  double* number;
  double least;
  double most;
};

// What an option sets: a flag a bool, other options one value or several, or what a function makes
// of the value.
using OptionTarget =
    std::variant<HelpFlag, VersionFlag, bool*, std::string*, std::vector<std::string>*,
                 std::size_t*, BoundedNumber, std::function<void(const std::string&)>>;

enum class Presence { kOptional, kRequired };

struct Option {
  std::vector<std::string> names;  // "-h", "--help"; an argument has one name, without dashes
  std::string help;
  OptionTarget target;
  // Placeholder of the value. TYPE (a message), NAME (an element of the schema) and FILE are
  // completed.
  std::string value{};
  std::vector<std::string> choices{};  // the values, if no others are accepted
  Presence presence = Presence::kOptional;

  bool IsArgument() const { return names.front().front() != '-'; }
  bool TakesValue() const { return !value.empty() || !choices.empty(); }
  bool IsRepeated() const { return std::holds_alternative<std::vector<std::string>*>(target); }
  // "FILE", "{none,delimited,any}"; empty for a flag.
  std::string Placeholder() const;
};

// An option that accepts one of these words, each of which stands for a value.
template <typename Value>
Option Choice(const std::string& name, const std::string& help, Value& value,
              const std::vector<std::pair<std::string, Value>>& choices) {
  Option option{{name}, help, [&value, choices](const std::string& word) {
                  for (const auto& choice : choices) {
                    value = choice.first == word ? choice.second : value;
                  }
                }};
  for (const auto& choice : choices) {
    option.choices.push_back(choice.first);
  }
  return option;
}

struct Command {
  std::string name;  // empty for the tool itself
  std::string help;
  std::vector<Option> options{};  // arguments too, in their order
  std::string notes{};            // paragraphs after the options; lines that begin with a space
                                  // are kept as they are
  std::vector<std::string> examples{};  // command lines
  std::function<ExitCode()> run{};      // after the options have been set; throws Error

  std::vector<Option> NamedOptions() const;  // those with dashes
  std::vector<Option> Arguments() const;
};

// The tool: its own options and notes, and its commands in the order of the help.
struct CommandLine {
  Command tool;
  std::vector<Command> commands;
};

}  // namespace qmsg
