#include <google/protobuf/any.pb.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/util/json_util.h>

#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/messages.h"
#include "io/documents.h"
#include "io/output.h"
#include "wire/walk.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

struct Options {
  MessageOptions messages;
  TextForm to = TextForm::kJson;
  bool compact = false;
};

std::string ToJson(const pb::Message& message, bool compact, const std::string& where) {
  pb::util::JsonPrintOptions how;
  how.add_whitespace = !compact;
  how.preserve_proto_field_names = true;
  std::string json;
  const pb::util::Status status = pb::util::MessageToJsonString(message, &json, how);
  if (!status.ok()) {
    throw Error(ExitCode::kBadData, where + ": JSON cannot carry it: " +
                                        status.message().ToString() + "; --to text can");
  }
  if (json.back() != '\n') {
    json += '\n';
  }
  return json;
}

std::string ToText(const pb::Message& message, bool compact) {
  pb::TextFormat::Printer printer;
  printer.SetSingleLineMode(compact);
  printer.SetUseUtf8StringEscaping(true);
  printer.SetExpandAny(true);
  std::string text;
  if (!printer.PrintToString(message, &text)) {
    throw Error(ExitCode::kInputOutput, "not enough memory for its text");
  }
  return compact ? text + '\n' : text;
}

// Finds the fields that no parser would take.
class UnknownFields : public Visitor {
 public:
  explicit UnknownFields(std::uint64_t base) : base_(base) {}

  void Value(const Occurrence& at, const Path& path) override { Count(at, path); }
  void Enter(const Occurrence& at, const pb::Descriptor* /*type*/, const Path& path) override {
    Count(at, path);
  }

  void Tell(const std::string& where) const {
    if (count_ > 0) {
      std::cerr << "qmsg: " << where << ": " << count_
                << (count_ == 1 ? " unknown field, " : " unknown fields, ") << places_
                << (count_ > kShown ? ", ..." : "") << '\n';
    }
  }

 private:
  static constexpr std::size_t kShown = 5;

  void Count(const Occurrence& at, const Path& path) {
    const bool in_a_group = path.depth() > 1 && !path.steps()[path.depth() - 2].known;
    if (at.known || in_a_group || ++count_ > kShown) {
      return;
    }
    places_ += (count_ > 1 ? ", " : "") + path.ToString() + " at offset " +
               std::to_string(base_ + at.begin);
  }

  std::uint64_t base_;
  std::size_t count_ = 0;
  std::string places_;
};

// The message in its Any, if it came in one, so that its type is told too.
std::unique_ptr<pb::Message> WithItsType(const Received& received,
                                         std::unique_ptr<pb::Message> message) {
  if (received.type_url.empty()) {
    return message;
  }
  auto any = std::make_unique<pb::Any>();
  any->set_type_url(std::string(received.type_url));
  // JSON would be made from the bytes as they stand, a field that occurs twice twice.
  any->set_value(message->SerializeAsString());
  return any;
}

void Decode(const Options& options, const Received& received) {
  const std::unique_ptr<pb::Message> message = WithItsType(received, Parse(received));
  Output& output = Output::Standard();
  if (options.to == TextForm::kJson) {
    output.Write(ToJson(*message, options.compact, received.Where()));
  } else {
    output.Write(ToText(*message, options.compact));
    if (options.messages.framing != Framing::kNone) {
      output.Write(kEndOfText);
    }
  }
  UnknownFields unknown(received.offset);
  Walk(received.bytes, received.type, unknown);
  unknown.Tell(received.Where());
}

}  // namespace

Command AddDecode(CLI::App& app) {
  CLI::App* command = app.add_subcommand("decode", "Print messages as JSON or text");
  auto options = std::make_shared<Options>();
  AddMessageOptions(*command, options->messages);
  AddTextFormOption(*command, "--to", "What to print; default: json", options->to);
  command->add_flag("--compact", options->compact, "Print each message on one line");
  command->footer(std::string(kFramingHelp) +
                  "\n\nUnknown fields are printed with --to text only, and counted on standard "
                  "error in any case.\n"
                  "In a stream each message in text ends with a line \"---\".\n\n"
                  "Example:\n"
                  "  echo 2a0853454c4543542031 | qmsg decode --type SqlQuery --in hex");
  return {command, [options] {
            return ForEachMessage(options->messages, true,
                                  [&](const Received& received) { Decode(*options, received); });
          }};
}

}  // namespace qmsg
