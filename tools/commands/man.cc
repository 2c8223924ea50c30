#include <sstream>

#include "commands/commands.h"
#include "io/output.h"

namespace qmsg {
namespace {

// The last change of the commands, and thus of the page. Not the day of the build: the same sources
// make the same page.
constexpr char kDate[] = "2026-11-22";

// Escapes text for the macros of man(7), which turn '-' into a hyphen and make quotes typographic.
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

std::string Value(const Option& option) {
  std::string choices;
  for (const std::string& choice : option.choices) {
    choices += (choices.empty() ? "" : "|") + Bold(choice);
  }
  return option.choices.empty() ? Italic(option.value) : choices;
}

std::string Synopsis(const Command& command) {
  std::string line = Bold("qmsg " + command.name) + " [" + Italic("OPTION") + "...]";
  for (const Option& argument : command.Arguments()) {
    const std::string value = Value(argument) + (argument.IsRepeated() ? "..." : "");
    line += " " + (argument.presence == Presence::kRequired ? value : "[" + value + "]");
  }
  return line;
}

std::string Entry(const Option& option) {
  std::string entry;
  if (!option.IsArgument()) {
    for (const std::string& name : option.names) {
      entry += (entry.empty() ? "" : ", ") + Bold(name);
    }
  }
  if (option.TakesValue()) {
    entry += (entry.empty() ? "" : " ") + Value(option);
  }
  return ".TP\n" + entry + "\n" + Roff(option.help) + ".\n";
}

// Keeps lines that begin with a space as they are.
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

std::string Section(const Command& command) {
  std::string section = ".SS \"" + Synopsis(command) + "\"\n" + Roff(command.help) + ".\n";
  for (const Option& argument : command.Arguments()) {
    section += Entry(argument);
  }
  for (const Option& option : command.NamedOptions()) {
    section += Entry(option);
  }
  section += Notes(command.notes) + ".PP\nExample:\n.PP\n.RS 4\n.nf\n";
  for (const std::string& example : command.examples) {
    section += Roff(example) + "\n";
  }
  return section + ".fi\n.RE\n";
}

std::string Page(const CommandLine& line) {
  std::string page =
      std::string(".TH QMSG 1 ") + kDate + " \"qmsg " QMSG_VERSION "\" \"User Commands\"\n";
  page +=
      ".SH NAME\n"
      "qmsg \\- read, write, check and explain messages\n"
      ".SH SYNOPSIS\n" +
      Bold("qmsg") + " " + Italic("COMMAND") + " [" + Italic("OPTION") + "...] [" +
      Italic("ARGUMENT") + "...]\n.SH DESCRIPTION\n" + Roff(line.tool.help) +
      "\n.PP\n"
      "Standard output carries data, standard error everything else.\n"
      "Names of messages, fields and other elements are given in full, or by an unambiguous "
      "end:\n" +
      Bold("quor.protobuf.Tarq.SqlQuery") + " or " + Bold("SqlQuery") +
      ".\nOffsets and indexes count from 0.\n.SH OPTIONS\n";
  for (const Option& option : line.tool.options) {
    page += Entry(option);
  }
  page += ".SH COMMANDS\n";
  for (const Command& command : line.commands) {
    page += Section(command);
  }
  page +=
      ".SH EXIT STATUS\n"
      ".TP\n.B 0\nFine.\n"
      ".TP\n.B 1\nThe data is bad, or differs.\n"
      ".TP\n.B 2\nThe command line is wrong: an unknown option, an unknown name.\n"
      ".TP\n.B 3\nSomething could not be opened, read or written.\n"
      ".SH ENVIRONMENT\n"
      ".TP\n.B NO_COLOR\nIf it is set and not empty, the output has no colours.\n"
      "Without it, terminals get colours and files do not.\n"
      ".SH SEE ALSO\n"
      ".BR protoc (1),\n"
      ".BR xxd (1)\n";
  return page;
}

}  // namespace

Command ManCommand(const CommandLine& line) {
  return {
      "man", "Write the manual page, for man and mandoc", {}, "", {"qmsg man > qmsg.1"}, [&line] {
        Output::Standard().Write(Page(line));
        return ExitCode::kFine;
      }};
}

}  // namespace qmsg
