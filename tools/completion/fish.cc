#include "completion/completion.h"
#include "io/join.h"

namespace qmsg {
namespace {

std::string QuoteForFish(const std::string& text) {
  std::string quoted = "'";
  for (const char character : text) {
    quoted += character == '\'' || character == '\\' ? "\\" : "";
    quoted += character;
  }
  return quoted + "'";
}

// The options of `complete` that offer the values of an option or argument.
std::string Values(const Option& option) {
  if (!option.choices.empty()) {
    return " -x -a " + QuoteForFish(Join(option.choices, " "));
  }
  if (option.value == "TYPE") {
    return " -x -a '(__qmsg_types)'";
  }
  if (option.value == "NAME") {
    return " -x -a '(__qmsg_names)'";
  }
  return option.value == "FILE" ? " -r -F" : " -x";
}

std::string Options(const Command& command) {
  std::string text;
  for (const Option& option : command.NamedOptions()) {
    text += "complete -c qmsg -n '__qmsg_command_is " +
            (command.name.empty() ? "\"\"" : command.name) + "'";
    for (const std::string& name : option.names) {
      const bool is_long = name.rfind("--", 0) == 0;
      text += (is_long ? " -l " : " -s ") + name.substr(is_long ? 2 : 1);
    }
    text +=
        (!option.TakesValue() ? "" : Values(option)) + " -d " + QuoteForFish(option.help) + "\n";
  }
  return text;
}

std::string Function(const std::string& name, const std::vector<std::string>& words) {
  return "function " + name + "\n    printf '%s\\n' " + Join(words, " \\\n        ") + "\nend\n\n";
}

}  // namespace

std::string FishCompletion(const CompletionInput& input) {
  std::string script = R"(# Completes command lines of qmsg in fish. Made by `qmsg completion fish`.

# Whether that is the command of the line; of no argument: whether there is none yet.
function __qmsg_command_is
    set -l words (commandline -opc)
    set -e words[1]
    for word in $words
        if not string match -q -- '-*' $word
            test "$word" = "$argv[1]"
            return
        end
    end
    test -z "$argv[1]"
end

)" + Function("__qmsg_types", input.types) +
                       Function("__qmsg_names", input.names) + "complete -c qmsg -f\n" +
                       Options(input.line.tool);
  for (const Command& command : input.line.commands) {
    script += "complete -c qmsg -n '__qmsg_command_is \"\"' -a " + command.name + " -d " +
              QuoteForFish(command.help) + "\n";
  }
  for (const Command& command : input.line.commands) {
    script += Options(command);
    for (const Option& argument : command.Arguments()) {
      script +=
          "complete -c qmsg -n '__qmsg_command_is " + command.name + "'" + Values(argument) + "\n";
    }
  }
  return script;
}

}  // namespace qmsg
