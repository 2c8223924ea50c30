#include "completion/completion.h"
#include "io/join.h"

namespace qmsg {
namespace {

// The command that offers the values of an option or argument; empty if there are none to offer.
std::string Offer(const Option& option) {
  if (!option.choices.empty()) {
    return "_qmsg_offer '" + Join(option.choices, " ") + "'";
  }
  if (option.value == "TYPE") {
    return "_qmsg_offer \"$(_qmsg_types)\"";
  }
  if (option.value == "NAME") {
    return "_qmsg_offer \"$(_qmsg_names)\"";
  }
  return option.value == "FILE" ? "_qmsg_offer_files" : "";
}

std::vector<std::string> OptionNames(const Command& command) {
  std::vector<std::string> names;
  for (const Option& option : command.NamedOptions()) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return names;
}

// One case for each option that takes a value: "'describe --format') ...".
std::string OptionCases(const CompletionInput& input) {
  std::string cases;
  for (const Command& command : input.line.commands) {
    for (const Option& option : command.NamedOptions()) {
      for (const std::string& name : option.names) {
        if (option.TakesValue()) {
          cases += "      '" + command.name + " " + name + "') " + Offer(option) + " ;;\n";
        }
      }
    }
  }
  return cases;
}

std::string ArgumentCases(const Command& command) {
  const std::vector<Option> arguments = command.Arguments();
  std::string cases;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Option& argument = arguments[i];
    const std::string pattern = argument.IsRepeated() ? " '*" : " " + std::to_string(i) + "'";
    cases += "      '" + command.name + pattern + ") " + Offer(argument) + " ;;\n";
  }
  return cases;
}

std::string ValueOptions(const CompletionInput& input) {
  std::vector<std::string> patterns;
  for (const Command& command : input.line.commands) {
    for (const Option& option : command.NamedOptions()) {
      for (const std::string& name : option.names) {
        if (option.TakesValue()) {
          patterns.push_back("'" + command.name + " " + name + "'");
        }
      }
    }
  }
  return patterns.empty() ? "''" : Join(patterns, " | ");
}

}  // namespace

std::string BashCompletion(const CompletionInput& input) {
  std::vector<std::string> commands;
  std::string options;
  std::string arguments;
  for (const Command& command : input.line.commands) {
    commands.push_back(command.name);
    options +=
        "      " + command.name + ") _qmsg_offer '" + Join(OptionNames(command), " ") + "' ;;\n";
    arguments += ArgumentCases(command);
  }
  return R"(# shellcheck shell=bash
# Completes command lines of qmsg in bash. Made by `qmsg completion bash`.

_qmsg_offer() { # WORDS
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

_qmsg_offer_files() {
  compopt -o filenames 2>/dev/null || true
  mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

_qmsg_types() {
  printf '%s\n' )" +
         Join(input.types, " \\\n    ") + "\n}\n\n_qmsg_names() {\n  printf '%s\\n' " +
         Join(input.names, " \\\n    ") + R"(
}

_qmsg() {
  local current=${COMP_WORDS[COMP_CWORD]} command='' option='' arguments=0 word i
  COMPREPLY=()
  # In `--option=value` the sign is a word of its own.
  [[ $current != = ]] || current=''
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    if [[ $word == = ]]; then
      continue
    elif [[ -n $option ]]; then
      option=''
    elif [[ $word == -?* ]]; then
      case "$command $word" in
        )" +
         ValueOptions(input) +
         R"() option=$word ;;
      esac
    elif [[ -z $command ]]; then
      command=$word
    else
      arguments=$((arguments + 1))
    fi
  done
  if [[ -n $option ]]; then
    case "$command $option" in
)" + OptionCases(input) +
         R"(    esac
  elif [[ $current == -* ]]; then
    case $command in
      '') _qmsg_offer ')" +
         Join(OptionNames(input.line.tool), " ") + "' ;;\n" + options + R"(    esac
  elif [[ -z $command ]]; then
    _qmsg_offer ')" +
         Join(commands, " ") + R"('
  else
    case "$command $arguments" in
)" + arguments +
         R"(    esac
  fi
}

complete -F _qmsg qmsg
)";
}

}  // namespace qmsg
