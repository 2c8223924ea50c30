#include "completion/completion.h"
#include "io/join.h"

namespace qmsg {
namespace {

std::string QuoteForZsh(const std::string& text) {
  std::string quoted = "'";
  for (const char character : text) {
    quoted += character == '\'' ? "'\\''" : std::string(1, character);
  }
  return quoted + "'";
}

// `text` with a backslash before each of `characters`.
std::string Backslash(const std::string& text, const std::string& characters) {
  std::string escaped;
  for (const char character : text) {
    escaped += characters.find(character) == std::string::npos ? "" : "\\";
    escaped += character;
  }
  return escaped;
}

// What completes a value, as _arguments has it.
std::string Action(const Option& option) {
  if (!option.choices.empty()) {
    return "(" + Join(option.choices, " ") + ")";
  }
  if (option.value == "TYPE") {
    return "_qmsg_types";
  }
  if (option.value == "NAME") {
    return "_qmsg_names";
  }
  return option.value == "FILE" ? "_files" : " ";
}

// What _arguments takes: a word for each option and argument.
std::string ArgumentWords(const Command& command) {
  std::string text;
  for (const Option& option : command.NamedOptions()) {
    for (const std::string& name : option.names) {
      std::string word = option.names.size() == 1 ? "" : "(" + Join(option.names, " ") + ")";
      if (option.IsRepeated()) {
        word = "*";
      }
      word += name;
      if (option.TakesValue()) {
        word += name.rfind("--", 0) == 0 ? "=" : "+";
      }
      word += "[" + Backslash(option.help, "[]\\") + "]";
      if (option.TakesValue()) {
        word += ":" + Backslash(option.Placeholder(), ":\\") + ":" + Action(option);
      }
      text += " \\\n        " + QuoteForZsh(word);
    }
  }
  const std::vector<Option> arguments = command.Arguments();
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Option& argument = arguments[i];
    text += " \\\n        " +
            QuoteForZsh((argument.IsRepeated() ? "*" : std::to_string(i + 1)) + ":" +
                        Backslash(argument.Placeholder(), ":\\") + ":" + Action(argument));
  }
  return text;
}

}  // namespace

std::string ZshCompletion(const CompletionInput& input) {
  std::string commands;
  std::string cases;
  for (const Command& command : input.line.commands) {
    commands += "        " + QuoteForZsh(command.name + ":" + command.help) + "\n";
    cases += "      " + command.name + ") _arguments" + ArgumentWords(command) + " ;;\n";
  }
  return R"(#compdef qmsg
# Completes command lines of qmsg in zsh. Made by `qmsg completion zsh`.

_qmsg_types() {
  compadd -- )" +
         Join(input.types, " \\\n    ") + R"(
}

_qmsg_names() {
  compadd -- )" +
         Join(input.names, " \\\n    ") + R"(
}

_qmsg() {
  local curcontext=$curcontext state line
  typeset -A opt_args
  _arguments -C)" +
         ArgumentWords(input.line.tool) + R"( \
        '1:command:->command' '*::argument:->argument' && return
  case $state in
    command)
      local -a commands=(
)" + commands +
         R"(      )
      _describe command commands
      ;;
    argument)
      case $words[1] in
)" + cases +
         R"(      esac
      ;;
  esac
}

# As a file in $fpath it is the function's body; otherwise it is sourced.
if [[ $zsh_eval_context[-1] == loadautofunc ]]; then
  _qmsg "$@"
else
  compdef _qmsg qmsg
fi
)";
}

}  // namespace qmsg
