#include "parser.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "io/join.h"
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

}  // namespace

std::variant<const Command*, ExitCode> Parse(const CommandLine& line, int argc,
                                             const char* const* argv) {
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
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? ExitCode::kFine : ExitCode::kWrongUse;
  }
  return commands.at(app.get_subcommands().front());
}

}  // namespace qmsg
