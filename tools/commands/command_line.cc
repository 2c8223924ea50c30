#include "commands/command_line.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace qmsg {
namespace {

// The library tells the values that an option allows only in words: "{a,b}" behind its type.
std::vector<std::string> ChoicesOf(const std::string& type) {
  std::vector<std::string> choices;
  const std::size_t begin = type.find('{');
  const std::size_t end = type.find('}');
  if (begin == std::string::npos || end == std::string::npos) {
    return choices;
  }
  std::istringstream list(type.substr(begin + 1, end - begin - 1));
  for (std::string choice; std::getline(list, choice, ',');) {
    choices.push_back(choice);
  }
  return choices;
}

OptionFacts FactsOf(const CLI::Option& option) {
  OptionFacts facts;
  for (const std::string& name : option.get_snames()) {
    facts.names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    facts.names.push_back("--" + name);
  }
  if (option.get_positional()) {
    facts.argument = option.get_name(true);
  }
  if (option.get_items_expected_max() > 0) {
    const std::string type = option.get_type_name();
    facts.type = type.substr(0, type.find(':'));
    facts.choices = ChoicesOf(type);
  }
  facts.default_value = option.get_default_str();
  facts.description = option.get_description();
  facts.required = option.get_required();
  facts.repeated = option.get_items_expected_max() > 1;
  return facts;
}

constexpr char kExample[] = "Example:\n";

// The lines behind it, each a command line.
std::vector<std::string> ExamplesOf(const std::string& footer) {
  std::vector<std::string> examples;
  std::istringstream lines(footer);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("  ", 0) == 0) {
      examples.push_back(line.substr(2));
    }
  }
  return examples;
}

}  // namespace

CommandFacts FactsOf(const CLI::App& app) {
  CommandFacts facts;
  facts.name = app.get_parent() == nullptr ? "" : app.get_name();
  facts.description = app.get_description();
  const std::string footer = app.get_footer();
  const std::size_t example = std::min(footer.find(kExample), footer.size());
  facts.notes = footer.substr(0, example);
  facts.examples = ExamplesOf(footer.substr(example));
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_group().empty()) {  // those without are hidden
      OptionFacts option_facts = FactsOf(*option);
      (option_facts.names.empty() ? facts.arguments : facts.options)
          .push_back(std::move(option_facts));
    }
  }
  return facts;
}

std::vector<CommandFacts> CommandsOf(const CLI::App& root) {
  std::vector<CommandFacts> commands;
  for (const CLI::App* command : root.get_subcommands([](const CLI::App*) { return true; })) {
    commands.push_back(FactsOf(*command));
  }
  return commands;
}

}  // namespace qmsg
