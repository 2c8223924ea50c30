#include <google/protobuf/any.pb.h>

#include <iostream>
#include <limits>
#include <memory>

#include "check/message_check.h"
#include "check/sql_reference_check.h"
#include "commands/commands.h"
#include "commands/message_input.h"
#include "io/progress.h"
#include "schema/schema.h"

namespace qmsg {
namespace {

using google::protobuf::Any;
using google::protobuf::Descriptor;

struct CheckOptions {
  MessageOptions messages;
  bool json = false;
  bool strict = false;
  bool all = false;
};

constexpr std::uint64_t kMost = 20;  // findings of a rule that are printed of a file

std::string Counted(std::uint64_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

// The text of an error without the file name, which the finding has already.
std::string WithoutName(const std::string& name, const std::string& what) {
  const std::string prefix = name + ": ";
  return what.compare(0, prefix.size(), prefix) == 0 ? what.substr(prefix.size()) : what;
}

class Checker {
 public:
  explicit Checker(const CheckOptions& options)
      : options_(options),
        framing_(options.messages.framing),
        type_(FindType(options.messages.type, options.messages.framing, false)),
        report_(Output::Standard(), FormOf(options),
                options.all || options.json ? std::numeric_limits<std::uint64_t>::max() : kMost) {}

  ExitCode Run() {
    if (type_ == nullptr && framing_ != Framing::kAny) {
      std::cerr << "qmsg: without --type only the wire format is checked; qmsg guess lists the "
                   "possible types\n";
    }
    const std::vector<std::string> standard_input{"-"};
    const std::vector<std::string>& files = options_.messages.files;
    for (const std::string& path : files.empty() ? standard_input : files) {
      File(path);
    }
    Output::Standard().Flush();
    std::cerr << Counted(messages_, "message") << ", " << Counted(report_.errors(), "error") << ", "
              << Counted(report_.warnings(), "warning") << '\n';
    const bool bad = report_.errors() > 0 || (options_.strict && report_.warnings() > 0);
    return bad ? ExitCode::kBadData : ExitCode::kFine;
  }

 private:
  static Report::Form FormOf(const CheckOptions& options) {
    if (options.json) {
      return Report::Form::kJson;
    }
    return options.messages.framing == Framing::kNone ? Report::Form::kText
                                                      : Report::Form::kNumbered;
  }

  void File(const std::string& path) {
    Input input(path, options_.messages.form);
    SqlReferenceCheck references(
        [this](const Subject& subject, const Finding& finding) { report_.Tell(subject, finding); });
    Subject subject{&input.name(), 0, 0, type_};
    try {
      FrameReader frames(input, framing_, options_.messages.selection);
      Progress progress(input, !Output::Standard().IsTerminal());
      for (Frame frame; frames.Next(frame);) {
        subject.message = frame.index;
        subject.offset = frame.offset;
        ++messages_;
        Message(subject, frame.bytes, references);
        progress.Update();
      }
      WarnIfEmpty(input, framing_);
    } catch (const BrokenStream& error) {
      subject.message = error.index();
      TellBroken(subject, error.offset(), error.reason());
    } catch (const Error& error) {
      if (error.code() != ExitCode::kBadData) {
        throw;
      }
      TellBroken(subject, input.position(), WithoutName(input.name(), error.what()));
    }
    references.Finish();
    report_.Finish(input.name());
  }

  void TellBroken(Subject subject, std::uint64_t offset, const std::string& reason) {
    subject.offset = 0;
    report_.Tell(subject, {&rules::kFraming, offset, "", reason});
  }

  void Message(Subject subject, std::string_view bytes, SqlReferenceCheck& references) {
    if (framing_ != Framing::kAny) {
      Content(subject, bytes, references);
      return;
    }
    subject.type = Any::descriptor();
    Findings findings = FindingsIn(subject);
    const MessageCheck any(bytes, subject.type, pool_, findings);
    if (!any.good()) {
      return;
    }
    Subject content = subject;
    const FieldState& url = any.at(Any::kTypeUrlFieldNumber);
    content.type = TypeOf(url.text);
    if (content.type == nullptr) {
      report_.Tell(
          subject,
          {IsTypeUrl(url.text) ? &rules::kUnknownType : &rules::kAnyType, url.begin, "type_url",
           url.text.empty()
               ? "the google.protobuf.Any does not name its type; is the framing right?"
               : "the schema has no type " + Quoted(url.text)});
      return;
    }
    const std::string_view value = any.at(Any::kValueFieldNumber).text;
    content.offset += value.empty() ? 0 : static_cast<std::uint64_t>(value.data() - bytes.data());
    Content(content, value, references);
  }

  void Content(const Subject& subject, std::string_view bytes, SqlReferenceCheck& references) {
    Findings findings = FindingsIn(subject);
    const MessageCheck check(bytes, subject.type, pool_, findings);
    if (!check.sql().other()) {
      // Field 1, queue_id, of all messages about SQL.
      references.Add(check.at(1).text, check.sql(), check.good(), subject);
    }
  }

  Findings FindingsIn(const Subject& subject) {
    return Findings([this, subject](const Finding& finding) { report_.Tell(subject, finding); });
  }

  const CheckOptions& options_;
  Framing framing_;
  const Descriptor* type_;
  Report report_;
  ParsedMessagePool pool_;
  std::uint64_t messages_ = 0;
};

std::string Notes() {
  std::string codes;
  for (const Rule* rule : kRules) {
    std::string line = "  " + std::string(rule->code);
    line.resize(22, ' ');
    codes += line + rule->meaning + '\n';
  }
  return std::string(kFramingHelp) +
         "\n\nEach finding is a line on standard output: file, message in a stream, offset in the\n"
         "file, severity, path of the field, description, and one of these codes. The first\n"
         "four are errors:\n" +
         codes +
         "Of a file, 20 findings with the same code are printed; --all and --json print each.\n"
         "After a bad message, checking continues with the next one. A stream that cannot be\n"
         "read further is an error.\n\n"
         "References from queries to connections and transactions are checked if the same\n"
         "input holds that list for their request, before or after the queries. At most\n" +
         std::to_string(SqlReferenceCheck::kMost) +
         " requests are kept; beyond that the least recently used one is checked and\n"
         "dropped.";
}

}  // namespace

Command CheckCommand() {
  auto options = std::make_shared<CheckOptions>();
  Command command{"check", "Report errors and oddities in messages",
                  InputOptions(options->messages)};
  command.options.push_back(
      {{"--json"}, "Print each finding as a JSON object on one line", &options->json});
  command.options.push_back(
      {{"--all"}, "Print all findings, not only 20 of each kind", &options->all});
  command.options.push_back({{"--strict"}, "Exit with 1 for warnings too", &options->strict});
  AddSelection(options->messages.selection, command);
  command.notes = Notes();
  command.examples = {"echo 0802 | qmsg check --type QVal --in hex"};
  command.run = [options] { return Checker(*options).Run(); };
  return command;
}

}  // namespace qmsg
