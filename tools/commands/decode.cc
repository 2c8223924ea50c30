#include <google/protobuf/any.pb.h>
#include <google/protobuf/duration.pb.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/timestamp.pb.h>
#include <google/protobuf/util/json_util.h>

#include <iostream>
#include <memory>
#include <utility>

#include "check/message_check.h"
#include "commands/commands.h"
#include "commands/message_input.h"
#include "io/documents.h"
#include "io/escape.h"
#include "io/json.h"
#include "io/output.h"
#include "wire/walk.h"

namespace qmsg {
namespace {

namespace pb = google::protobuf;

struct DecodeOptions {
  MessageOptions messages;
  TextForm to = TextForm::kJson;
  bool compact = false;
  bool with_position = false;
};

Error NotInJson(const std::string& where, const std::string& reason) {
  return {ExitCode::kBadData, where + ": JSON cannot represent it: " + reason + "; --to text can"};
}

// What the runtime prints, with two spaces a level, and < and > as they are.
std::string Legible(const std::string& json) {
  std::string text;
  text.reserve(json.size() + json.size() / 8);
  for (std::size_t i = 0; i < json.size(); ++i) {
    if (json[i] == '\\') {
      const std::string_view escape = std::string_view(json).substr(i, 6);
      if (escape == "\\u003c" || escape == "\\u003e") {
        text += escape.back() == 'c' ? '<' : '>';
        i += 5;
      } else {
        text += json[i++];
        text += json[i];
      }
      continue;
    }
    text += json[i];
    if (json[i] == '\n') {
      while (i + 1 < json.size() && json[i + 1] == ' ') {
        text += "  ";
        ++i;
      }
    }
  }
  return text;
}

std::string ToJson(const pb::Message& message, bool compact, const std::string& where) {
  pb::util::JsonPrintOptions how;
  how.add_whitespace = !compact;
  how.preserve_proto_field_names = true;
  std::string json;
  const pb::util::Status status = pb::util::MessageToJsonString(message, &json, how);
  if (!status.ok()) {
    throw NotInJson(where, status.message().ToString());
  }
  if (json.back() != '\n') {
    json += '\n';
  }
  return Legible(json);
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

// Finds the unknown fields, and times that could be out of range.
class Inspection : public Visitor {
 public:
  explicit Inspection(const Received& received) : base_(received.offset) {
    Walk(received.bytes, received.type, *this);
  }

  // Whether a part of a Timestamp or Duration is negative or large.
  bool has_unusual_time() const { return has_unusual_time_; }

  void TellUnknownFields(const std::string& where) const {
    if (unknown_ > 0) {
      std::cerr << "qmsg: " << where << ": " << unknown_
                << (unknown_ == 1 ? " unknown field, " : " unknown fields, ") << places_
                << (unknown_ > kShown ? ", ..." : "") << '\n';
    }
  }

 private:
  static constexpr std::size_t kShown = 5;
  static constexpr std::uint64_t kMostSeconds = 253402300799;  // the end of the year 9999
  static constexpr std::uint64_t kMostNanos = 999999999;

  void Value(const Occurrence& at, const Path& path) override {
    Count(at, path);
    if (at.known && (at.field->containing_type() == pb::Duration::descriptor() ||
                     at.field->containing_type() == pb::Timestamp::descriptor())) {
      const bool nanos = at.number == pb::Duration::kNanosFieldNumber;
      has_unusual_time_ =
          has_unusual_time_ || at.number_value > (nanos ? kMostNanos : kMostSeconds);
    }
  }
  void Enter(const Occurrence& at, const pb::Descriptor* /*type*/, const Path& path) override {
    Count(at, path);
  }

  void Count(const Occurrence& at, const Path& path) {
    const bool in_a_group = path.depth() > 1 && !path.steps()[path.depth() - 2].known;
    if (at.known || in_a_group || ++unknown_ > kShown) {
      return;
    }
    places_ += (unknown_ > 1 ? ", " : "") + path.ToString() + " at offset " +
               std::to_string(base_ + at.begin);
  }

  std::uint64_t base_;
  std::size_t unknown_ = 0;
  std::string places_;
  bool has_unusual_time_ = false;
};

// The runtime prints another time for a Duration whose seconds and nanos have different signs, and
// does not say where a time is out of range.
void RefuseTimesThatJsonCannotRepresent(const pb::Message& message, const std::string& where) {
  // Unlike the bytes that were read, these have no field or map key that a later one replaces.
  const std::string bytes = message.SerializeAsString();
  std::string refused;
  Findings findings([&](const Finding& finding) {
    const bool is_time =
        finding.rule == &rules::kNanosRange || finding.rule == &rules::kSecondsRange;
    if (is_time && refused.empty()) {
      refused = finding.path + ": " + finding.reason;
    }
  });
  ParsedMessagePool pool;
  const MessageCheck check(bytes, message.GetDescriptor(), pool, findings);
  if (!refused.empty()) {
    throw NotInJson(where, refused);
  }
}

// The message in its Any, if it came in one, so that its type is printed too.
std::unique_ptr<pb::Message> WithItsType(const Received& received,
                                         std::unique_ptr<pb::Message> message) {
  if (received.type_url.empty()) {
    return message;
  }
  auto any = std::make_unique<pb::Any>();
  any->set_type_url(std::string(received.type_url));
  // The runtime makes JSON directly from these bytes: a field that occurs twice would be there
  // twice.
  any->set_value(message->SerializeAsString());
  return any;
}

// The object with the position in front. A time, which is a text, becomes a member of an object.
std::string WithPosition(const std::string& json, bool compact, const Received& received) {
  const std::string space = compact ? "" : " ";
  const std::string separator = compact ? "," : ",\n  ";
  const auto member = [&](const char* key) { return '"' + std::string(key) + "\":" + space; };
  JsonWriter file(JsonWriter::Style::kCompact);
  std::string text = (compact ? "{" : "{\n  ") + member("@file") +
                     file.String(*received.input).text() + separator + member("@message") +
                     std::to_string(received.index) + separator + member("@offset") +
                     std::to_string(received.offset);
  if (json.front() != '{') {
    return text + separator + member("value") + json.substr(0, json.size() - 1) +
           (compact ? "}\n" : "\n}\n");
  }
  const std::size_t first = json.find_first_not_of("{ \n");
  return text + (json[first] == '}' ? (compact ? "" : "\n") : separator) + json.substr(first);
}

void Decode(const DecodeOptions& options, const Received& received) {
  std::unique_ptr<pb::Message> message = Parse(received);
  const Inspection inspection(received);
  if (options.to == TextForm::kJson && inspection.has_unusual_time()) {
    RefuseTimesThatJsonCannotRepresent(*message, received.Where());
  }
  message = WithItsType(received, std::move(message));
  Output& output = Output::Standard();
  if (options.to == TextForm::kJson) {
    const std::string json = ToJson(*message, options.compact, received.Where());
    output.Write(options.with_position ? WithPosition(json, options.compact, received) : json);
  } else {
    if (options.with_position) {
      output.Write("# " + Escape(*received.input) + ": message " + std::to_string(received.index) +
                   " at offset " + std::to_string(received.offset) + '\n');
    }
    output.Write(ToText(*message, options.compact));
    if (options.messages.framing != Framing::kNone) {
      output.Write(kEndOfText);
    }
  }
  inspection.TellUnknownFields(received.Where());
}

}  // namespace

Command DecodeCommand() {
  auto options = std::make_shared<DecodeOptions>();
  Command command{"decode", "Print messages as JSON or text",
                  MessageInputOptions(options->messages)};
  command.options.push_back(
      TextFormOption("--to", "Format of the output; default: json", options->to));
  command.options.push_back({{"--compact"}, "Print each message on one line", &options->compact});
  command.options.push_back({{"--with-position"},
                             "Print the file, index and offset of each message with it",
                             &options->with_position});
  AddSelection(options->messages.selection, command);
  command.notes = std::string(kFramingHelp) +
                  "\n\nUnknown fields are printed with --to text only; they are always counted on "
                  "standard error.\n"
                  "In a stream, a line \"---\" ends each message in text.";
  command.examples = {"echo 2a0853454c4543542031 | qmsg decode --type SqlQuery --in hex"};
  command.run = [options] {
    return ForEachMessage(options->messages, true,
                          [&](const Received& received) { Decode(*options, received); });
  };
  return command;
}

}  // namespace qmsg
