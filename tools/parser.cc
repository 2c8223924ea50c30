#include "parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "error.h"
#include "io/escape.h"
#include "io/join.h"
#include "io/text.h"
#include "io/wrap.h"

namespace qmsg {
namespace {

// Shows arguments by their name alone, and text in lines of 80 columns.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kTextColumn); }

  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_positional()) {
      return option->get_items_expected_max() > 1 ? "..." : "";
    }
    return CLI::Formatter::make_option_opts(option);
  }

  // The library indents all lines of the text but the first.
  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string wrapped = Wrap(CLI::Formatter::make_option_desc(option), kTextColumn);
    std::string text;
    for (std::size_t begin = 0, end = 0; begin < wrapped.size(); begin = end + 1) {
      end = wrapped.find('\n', begin);
      text += (text.empty() ? "" : "\n") +
              wrapped.substr(begin + kTextColumn, end - begin - kTextColumn);
    }
    return text;
  }

  std::string make_footer(const CLI::App* app) const override { return Wrap(app->get_footer(), 0); }

 private:
  static constexpr std::size_t kTextColumn = 28;
};

// Adds an option to the application, by what it sets.
class OptionAdder {
 public:
  OptionAdder(CLI::App& app, const Option& option)
      : app_(app), names_(Join(option.names, ",")), help_(option.help) {}

  CLI::Option* operator()(HelpFlag /*flag*/) { return app_.set_help_flag(names_, help_); }
  CLI::Option* operator()(VersionFlag /*flag*/) {
    return app_.set_version_flag(names_, "qmsg " QMSG_VERSION, help_);
  }
  CLI::Option* operator()(bool* flag) { return app_.add_flag(names_, *flag, help_); }
  CLI::Option* operator()(const BoundedNumber& bounded) {
    return (*this)(bounded.number)->check(CLI::Range(bounded.least, bounded.most).description(""));
  }
  CLI::Option* operator()(const std::function<void(const std::string&)>& set) {
    return app_.add_option_function<std::string>(names_, set, help_);
  }
  template <typename Value>
  CLI::Option* operator()(Value* value) {
    return app_.add_option(names_, *value, help_);
  }

 private:
  CLI::App& app_;
  std::string names_;
  std::string help_;
};

void Describe(const Command& command, CLI::App& app) {
  for (const Option& option : command.options) {
    CLI::Option* added = std::visit(OptionAdder(app, option), option.target);
    added->required(option.presence == Presence::kRequired);
    if (option.TakesValue()) {
      added->type_name(option.Placeholder());
    }
    if (!option.choices.empty()) {
      added->check(CLI::IsMember(option.choices).description(""));
    }
  }
  std::string footer = command.notes;
  if (!command.examples.empty()) {
    footer += (footer.empty() ? "" : "\n\n") + std::string("Example:\n  ") +
              Join(command.examples, "\n  ");
  }
  app.footer(footer);
}

// The command that the user may have meant; empty if none is near.
std::string Nearest(const CommandLine& line, const std::string& word) {
  std::string nearest;
  std::size_t least = word.size() / 2 + 1;
  for (const Command& command : line.commands) {
    const std::size_t distance = EditDistance(word, command.name);
    if (distance < least) {
      nearest = command.name;
      least = distance;
    }
  }
  return nearest;
}

ExitCode Refuse(const std::string& command, const std::string& reason) {
  const std::string tool = command.empty() ? "qmsg" : "qmsg " + command;
  std::cerr << tool << ": " << reason << "; " << tool << " --help explains\n";
  return ExitCode::kWrongUse;
}

}  // namespace

std::variant<const Command*, ExitCode> Parse(const CommandLine& line, int argc,
                                             const char* const* argv) {
  std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  if (!words.empty() && words.front() == "help") {  // "help decode" is "decode --help"
    words.erase(words.begin());
    words.resize(std::min<std::size_t>(words.size(), 1));
    words.emplace_back("--help");
  }
  const bool has_command = !words.empty() && words.front().substr(0, 1) != "-";
  const std::string first = has_command ? words.front() : "";
  const bool is_known =
      std::any_of(line.commands.begin(), line.commands.end(),
                  [&first](const Command& command) { return command.name == first; });
  if (has_command && !is_known) {
    const std::string nearest = Nearest(line, first);
    if (!nearest.empty()) {
      std::cerr << "qmsg: there is no command '" << Escape(first) << "'; did you mean " << nearest
                << "?\n";
      return ExitCode::kWrongUse;
    }
    return Refuse("", "there is no command '" + Escape(first) + "'");
  }
  CLI::App app(line.tool.help, "qmsg");
  app.require_subcommand(1);
  app.formatter(std::make_shared<HelpFormatter>());
  Describe(line.tool, app);
  std::map<const CLI::App*, const Command*> commands;
  for (const Command& command : line.commands) {
    CLI::App* added = app.add_subcommand(command.name, command.help);
    Describe(command, *added);
    commands[added] = &command;
  }
  if (words.empty()) {
    std::cerr << app.help();
    return ExitCode::kWrongUse;
  }
  try {
    std::reverse(words.begin(), words.end());  // as the library takes them
    app.parse(words);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      app.exit(error);
      return ExitCode::kFine;
    }
    return Refuse(first, error.what());
  } catch (const Error& error) {
    return Refuse(first, error.what());
  }
  return commands.at(app.get_subcommands().front());
}

}  // namespace qmsg
