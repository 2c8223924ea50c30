#include <sstream>

#include "commands/command_line.h"
#include "commands/commands.h"
#include "io/output.h"

namespace qmsg {
namespace {

// When the commands, and so the page, changed last. Not the day of the build: the same sources make
// the same page.
constexpr char kDate[] = "2026-11-21";

// Text for the macros of man(7), in which '-' would be a hyphen and quotes would be typographic.
std::string Roff(const std::string& text) {
  std::string roff;
  for (const char character : text) {
    switch (character) {
      case '\\':
        roff += "\\e";
        break;
      case '-':
        roff += "\\-";
        break;
      case '\'':
        roff += "\\(aq";
        break;
      case '`':
        roff += "\\(ga";
        break;
      case '^':
        roff += "\\(ha";
        break;
      case '~':
        roff += "\\(ti";
        break;
      case '"':
        roff += "\\(dq";
        break;
      default:
        roff += character;
    }
  }
  return roff.empty() || roff.front() != '.' ? roff : "\\&" + roff;
}

std::string Bold(const std::string& text) { return "\\fB" + Roff(text) + "\\fR"; }
std::string Italic(const std::string& text) { return "\\fI" + Roff(text) + "\\fR"; }

std::string Value(const OptionFacts& option) {
  std::string choices;
  for (const std::string& choice : option.choices) {
    choices += (choices.empty() ? "" : "|") + Bold(choice);
  }
  return option.choices.empty() ? Italic(option.type) : choices;
}

std::string Synopsis(const CommandFacts& command) {
  std::string line = Bold("qmsg " + command.name) + " [" + Italic("OPTION") + "...]";
  for (const OptionFacts& argument : command.arguments) {
    const std::string value = Value(argument) + (argument.repeated ? "..." : "");
    line += " " + (argument.required ? value : "[" + value + "]");
  }
  return line;
}

std::string Entry(const OptionFacts& option) {
  std::string names;
  for (const std::string& name : option.names) {
    names += (names.empty() ? "" : ", ") + Bold(name);
  }
  std::string entry = ".TP\n" + names;
  if (!option.type.empty()) {
    entry += (names.empty() ? "" : " ") + Value(option);
  }
  entry += "\n" + Roff(option.description) + ".\n";
  if (!option.default_value.empty()) {
    entry += "Default: " + Bold(option.default_value) + ".\n";
  }
  return entry;
}

// Lines that begin with a space stay as they are.
std::string Notes(const std::string& notes) {
  std::string roff;
  std::istringstream lines(notes);
  bool table = false;
  bool paragraph = true;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) {
      paragraph = true;
      continue;
    }
    const bool in_table = line[0] == ' ';
    roff += in_table && !table ? ".nf\n" : !in_table && table ? ".fi\n" : "";
    roff += (paragraph ? ".PP\n" : "") + Roff(line) + '\n';
    table = in_table;
    paragraph = false;
  }
  return roff + (table ? ".fi\n" : "");
}

std::string Section(const CommandFacts& command) {
  std::string section = ".SS \"" + Synopsis(command) + "\"\n" + Roff(command.description) + ".\n";
  for (const OptionFacts& argument : command.arguments) {
    section += Entry(argument);
  }
  for (const OptionFacts& option : command.options) {
    section += Entry(option);
  }
  section += Notes(command.notes) + ".PP\nExample:\n.PP\n.RS 4\n.nf\n";
  for (const std::string& example : command.examples) {
    section += Roff(example) + "\n";
  }
  return section + ".fi\n.RE\n";
}

std::string Page(const CLI::App& root) {
  const CommandFacts tool = FactsOf(root);
  std::string page =
      std::string(".TH QMSG 1 ") + kDate + " \"qmsg " QMSG_VERSION "\" \"User Commands\"\n";
  page +=
      ".SH NAME\n"
      "qmsg \\- read, write, check and explain messages\n"
      ".SH SYNOPSIS\n" +
      Bold("qmsg") + " " + Italic("COMMAND") + " [" + Italic("OPTION") + "...] [" +
      Italic("ARGUMENT") + "...]\n.SH DESCRIPTION\n" + Roff(tool.description) +
      "\n.PP\n"
      "Standard output carries data, standard error everything else.\n"
      "Names of messages and of what they consist of are given in full, or by as much of their\n"
      "end as is unambiguous: " +
      Bold("quor.protobuf.Tarq.SqlQuery") + " or " + Bold("SqlQuery") +
      ".\nOffsets and indexes count from 0.\n.SH OPTIONS\n";
  for (const OptionFacts& option : tool.options) {
    page += Entry(option);
  }
  page += ".SH COMMANDS\n";
  for (const CommandFacts& command : CommandsOf(root)) {
    page += Section(command);
  }
  page +=
      ".SH EXIT STATUS\n"
      ".TP\n.B 0\nFine.\n"
      ".TP\n.B 1\nThe data is bad, or differs.\n"
      ".TP\n.B 2\nThe command line is wrong: an unknown option, a name that nothing has.\n"
      ".TP\n.B 3\nSomething could not be opened, read or written.\n"
      ".SH ENVIRONMENT\n"
      ".TP\n.B NO_COLOR\nIf it is set and not empty, nothing is coloured.\n"
      "Without it, terminals get colours and files do not.\n"
      ".SH SEE ALSO\n"
      ".BR protoc (1),\n"
      ".BR xxd (1)\n";
  return page;
}

}  // namespace

Command AddMan(CLI::App& app) {
  CLI::App* command = app.add_subcommand("man", "Write the manual page, for man and mandoc");
  command->footer(
      "Example:\n"
      "  qmsg man > qmsg.1");
  return {command, [&app] {
            Output::Standard().Write(Page(app));
            return ExitCode::kFine;
          }};
}

}  // namespace qmsg
