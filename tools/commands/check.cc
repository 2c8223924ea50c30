#include <google/protobuf/any.pb.h>

#include <iostream>
#include <memory>

#include "check/message_check.h"
#include "check/requests.h"
#include "commands/commands.h"
#include "commands/messages.h"
#include "io/progress.h"
#include "schema/schema.h"

namespace qmsg {
namespace {

using google::protobuf::Any;
using google::protobuf::Descriptor;

struct Options {
  MessageOptions messages;
  bool json = false;
  bool strict = false;
};

std::string Counted(std::uint64_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

// What an error says, without the file that a finding names already.
std::string WithoutName(const std::string& name, const std::string& what) {
  const std::string prefix = name + ": ";
  return what.compare(0, prefix.size(), prefix) == 0 ? what.substr(prefix.size()) : what;
}

class Checker {
 public:
  explicit Checker(const Options& options)
      : options_(options),
        framing_(options.messages.framing),
        type_(FindType(options.messages.type, options.messages.framing, false)),
        report_(Output::Standard(), FormOf(options)) {}

  ExitCode Run() {
    if (type_ == nullptr && framing_ != Framing::kAny) {
      std::cerr << "qmsg: without --type only the wire format is checked; qmsg guess says what "
                   "the bytes can be\n";
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
  static Report::Form FormOf(const Options& options) {
    if (options.json) {
      return Report::Form::kJson;
    }
    return options.messages.framing == Framing::kNone ? Report::Form::kText
                                                      : Report::Form::kNumbered;
  }

  void File(const std::string& path) {
    Input input(path, options_.messages.form);
    Requests requests(
        [this](const Subject& subject, const Finding& finding) { report_.Tell(subject, finding); });
    Subject subject{&input.name(), 0, 0, type_};
    try {
      FrameReader frames(input, framing_);
      Progress progress(input, !Output::Standard().IsTerminal());
      for (Frame frame; frames.Next(frame); ++subject.message) {
        subject.offset = frame.offset;
        ++messages_;
        Message(subject, frame.bytes, requests);
        progress.Update();
      }
      TellIfEmpty(input, framing_);
    } catch (const BrokenStream& error) {
      TellBroken(subject, error.offset(), error.reason());
    } catch (const Error& error) {
      if (error.code() != ExitCode::kBadData) {
        throw;
      }
      TellBroken(subject, input.position(), WithoutName(input.name(), error.what()));
    }
    requests.Finish();
  }

  void TellBroken(Subject subject, std::uint64_t offset, const std::string& reason) {
    subject.offset = 0;
    report_.Tell(subject, {&rules::kFraming, offset, "", reason});
  }

  void Message(Subject subject, std::string_view bytes, Requests& requests) {
    if (framing_ != Framing::kAny) {
      Content(subject, bytes, requests);
      return;
    }
    subject.type = Any::descriptor();
    Findings findings = FindingsIn(subject);
    const MessageCheck any(bytes, subject.type, nodes_, findings);
    if (!any.good()) {
      return;
    }
    Subject content = subject;
    const Slot& url = any.at(Any::kTypeUrlFieldNumber);
    content.type = TypeOf(url.text);
    if (content.type == nullptr) {
      report_.Tell(subject, {&rules::kAnyType, url.begin, "type_url",
                             url.text.empty()
                                 ? "the google.protobuf.Any names no type; is the framing right?"
                                 : "none of the schema's types is " + Quoted(url.text)});
      return;
    }
    const std::string_view value = any.at(Any::kValueFieldNumber).text;
    content.offset += value.empty() ? 0 : static_cast<std::uint64_t>(value.data() - bytes.data());
    Content(content, value, requests);
  }

  void Content(const Subject& subject, std::string_view bytes, Requests& requests) {
    Findings findings = FindingsIn(subject);
    const MessageCheck check(bytes, subject.type, nodes_, findings);
    if (!check.sql().other()) {
      // Field 1 of all messages about SQL.
      requests.Add(check.at(1).text, check.sql(), check.good(), subject);
    }
  }

  Findings FindingsIn(const Subject& subject) {
    return Findings([this, subject](const Finding& finding) { report_.Tell(subject, finding); });
  }

  const Options& options_;
  Framing framing_;
  const Descriptor* type_;
  Report report_;
  NodePool nodes_;
  std::uint64_t messages_ = 0;
};

std::string Footer() {
  std::string codes;
  for (const Rule* rule : kRules) {
    std::string line = "  " + std::string(rule->code);
    line.resize(22, ' ');
    codes += line + rule->meaning + '\n';
  }
  return std::string(kFramingHelp) +
         "\n\nA finding is a line on standard output: the file, the message in a stream, the\n"
         "offset in the file, an error or a warning, the path of the field, what there is,\n"
         "and one of these codes, of which the first four are errors:\n" +
         codes +
         "A message that is bad does not end a stream. One that cannot be read further is\n"
         "left, with an error.\n\n"
         "References from queries to connections and transactions of their request are\n"
         "judged where such a list is in the same input, before or behind them. Some\n" +
         std::to_string(Requests::kMost) +
         " requests are held at a time; the one untouched for longest is judged and\n"
         "forgotten.\n\n"
         "Example:\n"
         "  echo 0802 | qmsg check --type QVal --in hex";
}

}  // namespace

Command AddCheck(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("check", "Tell what is wrong with messages, and what is odd");
  auto options = std::make_shared<Options>();
  AddInputOptions(*command, options->messages);
  command->add_flag("--json", options->json, "Print each finding as a JSON object on one line");
  command->add_flag("--strict", options->strict, "Exit with 1 for warnings too");
  command->footer(Footer());
  return {command, [options] { return Checker(*options).Run(); }};
}

}  // namespace qmsg
